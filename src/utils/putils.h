#pragma once

#include <string>
#include <vector>

/// The one random generator of a run, and helpers on probabilities.
///
/// The generator is that of Park and Miller (1988) with the shuffle of Bays and Durham (1976). All draws of
/// a run come from it in a fixed order, so with one thread a seed gives the same output byte for byte.
namespace putils {

/// Starts the generator from `s`; 0 and 1 give the same stream.
void initRandom(long s);
/// A number in (0, 0.99999988]. May be called from any thread.
double getRandom();
/// floor(getRandom() * n): from 0 to n - 1.
int getRandom(int n);
/// The generator's state.
long getSeed();

/// Divides each entry by the sum of all, which is returned; a vector with sum 0 stays as it is.
double normalise(std::vector<double>& values);
/// Draws an index with probability values[i] / sum. Always takes one draw; the last entry is the fallback.
int sample(const std::vector<double>& values, double sum);
/// Sum of x log x over the entries above 0 (natural logarithm, sign not turned).
double entropy(const std::vector<double>& values);
/// Sum of (log P[i] - log Q[i]) * P[i] over the entries where both are above 0 (Kullback and Leibler 1951).
double KLdistance(const std::vector<double>& P, const std::vector<double>& Q);

/// A random UUID as text; it does not depend on the seed.
std::string getRandomID();

}  // namespace putils
