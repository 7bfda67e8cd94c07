#include "tools/random_source.h"

#include <bit>

namespace simulation {

double RandomSource::uniform() {
    return static_cast<double>(bits_() >> 11) * 0x1p-53;
}

std::uint64_t RandomSource::below(std::uint64_t bound) {
    const int unused_bits = std::countl_zero((bound - 1) | 1);
    std::uint64_t value = bits_() >> unused_bits;
    while (value >= bound) value = bits_() >> unused_bits;
    return value;
}

// Von Neumann's method. Starting from a uniform x, a decreasing sequence of uniforms ends after an odd number
// of steps with probability exp(-x); then x is the fractional part of the draw. Each failure adds one to the
// integral part.
double RandomSource::exponential() {
    for (double whole = 0;; ++whole) {
        const double first = uniform();
        double last = first;
        double next = uniform();
        bool odd = true;
        while (next < last) {
            last = next;
            next = uniform();
            odd = !odd;
        }
        if (odd) return whole + first;
    }
}

// The number of events up to time `mean` when the waiting times between them are exponential.
int RandomSource::poisson(double mean) {
    int events = 0;
    double time = exponential();
    while (time < mean) {
        ++events;
        time += exponential();
    }
    return events;
}

// Finalising steps of a 64-bit mixer: every bit of the input reaches every bit of the output.
std::uint64_t derived_seed(std::uint64_t seed, std::uint64_t stream) {
    std::uint64_t mixed = seed + 0x9E3779B97F4A7C15ULL * (stream + 1);
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9ULL;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBULL;
    return mixed ^ (mixed >> 31);
}

}  // namespace simulation
