#pragma once

#include <bit>

#include "objects/chaplotype.h"

/// The plain twin of the bit kernels, byte by byte. Tests hold the two equal,
/// benchmarks compare their speed.
namespace bit_kernels::plain {

/// Number of bits in which `n` bytes differ, or DISTANCE_BEYOND_LIMIT as soon as it is above `limit`.
inline int bounded_distance(const unsigned char* a, const unsigned char* b, int n, int limit) {
    int sum = 0;
    for (int i = 0; i < n; ++i) {
        sum += std::popcount(static_cast<unsigned char>(a[i] ^ b[i]));
        if (sum > limit) return DISTANCE_BEYOND_LIMIT;
    }
    return sum;
}

}  // namespace bit_kernels::plain
