#pragma once

#include <vector>

#include "utils/random_source.h"

/// A search in an array, and the random splitting of a list into overlapping runs.
namespace autils {

/// Index of the largest entry, the first one on ties. 0 for an empty vector, or if no entry is above -1e300,
/// where the search starts.
int max(const std::vector<double>& values);

/// A run of consecutive items of a list: the first and the last one, both inclusive.
struct item_run {
    int first;
    int last;
};

/// Splits a run of items at random into runs of at least `min_size` + 1 items, neighbours sharing two items,
/// and appends them to `out` in order.
void decompose(int min_size, item_run items, std::vector<item_run>& out, random_source& random);

}  // namespace autils
