#pragma once

#include <cstdint>
#include <random>

namespace simulation {

/// Random numbers that are the same for the same seed on every machine and with every compiler. The bits come
/// from std::mt19937_64, whose output is specified by the standard. The transforms use only additions,
/// multiplications and comparisons, because the last digit of a logarithm differs between libraries.
class RandomSource {
  public:
    explicit RandomSource(std::uint64_t seed) : bits_(seed) {}

    /// Uniform in [0, 1), a multiple of 2^-53.
    double uniform();

    /// Uniform among 0 .. bound - 1; bound must be positive.
    std::uint64_t below(std::uint64_t bound);

    /// True with the given probability.
    bool chance(double probability) { return uniform() < probability; }

    /// Exponential with mean 1.
    double exponential();

    /// Poisson; the time taken grows with the mean.
    int poisson(double mean);

  private:
    std::mt19937_64 bits_;
};

/// A seed for one of several independent streams drawn under the same main seed.
std::uint64_t derived_seed(std::uint64_t seed, std::uint64_t stream);

}  // namespace simulation
