#include "utils/bits.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace {

TEST(Transposed, SwapsRowsAndColumns) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 100; ++i) {
        const std::uint64_t m = random(), t = transposed(m);
        for (int r = 0; r < 8; ++r)
            for (int c = 0; c < 8; ++c)
                ASSERT_EQ(t >> (8 * c + r) & 1, m >> (8 * r + c) & 1) << r << ' ' << c;
    }
}

TEST(Transpose, ExchangesRowsAndColumns) {
    std::mt19937_64 random(7);
    for (int trial = 0; trial < 20; ++trial) {
        std::array<std::uint64_t, 64> m;
        for (std::uint64_t& row : m) row = random();
        const std::array<std::uint64_t, 64> before = m;
        transpose(m);
        for (int r = 0; r < 64; ++r)
            for (int c = 0; c < 64; ++c) ASSERT_EQ(m[r] >> c & 1, before[c] >> r & 1) << r << ", " << c;
    }
}

}  // namespace
