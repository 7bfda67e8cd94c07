#pragma once

#include <vector>

namespace spare {

/// Divides each entry by the sum of all, which is returned; a vector with sum 0 stays as it is.
double normalise(std::vector<double>& values);
/// Sum of x log x over the entries above 0 (natural logarithm, not negated).
double entropy(const std::vector<double>& values);
/// Sum of (log P[i] - log Q[i]) * P[i] over the entries where both are above 0 (Kullback and Leibler 1951). P
/// and Q must have the same size.
double KLdistance(const std::vector<double>& P, const std::vector<double>& Q);

}  // namespace spare
