#pragma once

#include <utility>
#include <vector>

namespace spare {

/// Index of the largest entry, the first one on ties. 0 for an empty vector, or if no entry is above
/// -1000000000, where the search starts.
int argmax(const std::vector<int>& values);
/// Index of the smallest entry, the first one on ties; 0 for fewer than two entries.
int argmin(const std::vector<float>& values);
int argmin(const std::vector<int>& values);
/// Indices of the smallest and the second smallest of at least two entries; earlier entries win ties.
std::pair<int, int> argmin2(const std::vector<float>& values);

}  // namespace spare
