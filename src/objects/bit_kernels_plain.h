#pragma once

#include <bit>

#include "objects/chaplotype.h"

/// Scalar reference implementation of the bit kernels, byte by byte. Tests check that both give the same
/// distances, benchmarks compare their speed.
namespace bit_kernels::plain {

/// Number of bits in which `n` bytes differ, or DISTANCE_BEYOND_LIMIT if it is above `limit`.
inline int bounded_distance(const unsigned char* a, const unsigned char* b, int n, int limit) {
    int sum = 0;
    for (int i = 0; i < n; ++i) {
        sum += std::popcount(static_cast<unsigned char>(a[i] ^ b[i]));
        if (sum > limit) return DISTANCE_BEYOND_LIMIT;
    }
    return sum;
}

}  // namespace bit_kernels::plain
