#pragma once

#include <array>
#include <cstdint>

/// Transposes an 8 x 8 matrix of bits, where byte r is row r and bit c of it is column c. Swaps blocks of 1,
/// 2 and 4 bits across the diagonal.
constexpr std::uint64_t transposed(std::uint64_t m) {
    const auto exchange = [&m](int distance, std::uint64_t mask) {
        const std::uint64_t t = (m ^ (m >> distance)) & mask;
        m ^= t ^ (t << distance);
    };
    exchange(7, 0x00AA00AA00AA00AA);
    exchange(14, 0x0000CCCC0000CCCC);
    exchange(28, 0x00000000F0F0F0F0);
    return m;
}

/// Transposes a 64 x 64 matrix of bits, where word r is row r and bit c of it is column c. Swaps blocks of
/// 32, 16, ... 1 bits across the diagonal.
inline void transpose(std::array<std::uint64_t, 64>& m) {
    std::uint64_t mask = 0x00000000FFFFFFFF;
    for (int size = 32; size > 0; size >>= 1, mask ^= mask << size)
        for (int block = 0; block < 64; block += 2 * size)
            for (int r = block; r < block + size; ++r) {
                const std::uint64_t t = (m[r] >> size ^ m[r + size]) & mask;
                m[r] ^= t << size;
                m[r + size] ^= t;
            }
}
