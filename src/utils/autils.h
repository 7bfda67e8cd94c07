#pragma once

#include <utility>
#include <vector>

/// Searches in arrays, and the random splitting of a list into overlapping runs.
namespace autils {

/// Index of the largest entry, the first of equals; 0 for an empty vector or one wholly below the start of
/// the search (-1e300 for doubles, -1000000000 for ints).
int max(const std::vector<double>& values);
int max(const std::vector<int>& values);

/// A run of consecutive items of a list: the first and the last one, both inclusive.
struct item_run {
    int first;
    int last;
};

/// Splits a run of items at random into runs of at least `min_size` + 1 items, neighbours sharing two items,
/// and appends them to `out` in order.
void decompose(int min_size, item_run items, std::vector<item_run>& out);

}  // namespace autils

/// Index of the smallest entry, the first of equals; 0 for fewer than two entries.
int argmin(const std::vector<float>& values);
int argmin(const std::vector<int>& values);
/// Indices of the smallest and the second smallest of at least two entries; earlier entries win ties.
std::pair<int, int> argmin2(const std::vector<float>& values);
