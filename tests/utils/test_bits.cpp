#include "utils/bits.h"

#include <gtest/gtest.h>

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

}  // namespace
