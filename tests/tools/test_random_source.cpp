#include <gtest/gtest.h>

#include <array>

#include "tools/random_source.h"

using simulation::RandomSource;

namespace {

constexpr int draws = 200'000;

// The C++ standard specifies the 10000th number of this generator.
TEST(RandomSource, BitsAreThoseOfTheStandardGenerator) {
    RandomSource random(5489);
    double uniform = 0;
    for (int i = 0; i < 10'000; ++i) uniform = random.uniform();
    EXPECT_EQ(uniform, static_cast<double>(9981545732273789042ULL >> 11) * 0x1p-53);
}

TEST(RandomSource, BelowReachesEveryValueEquallyOften) {
    RandomSource random(1);
    std::array<int, 6> counts{};
    for (int i = 0; i < draws; ++i) ++counts.at(random.below(6));
    for (const int count : counts) EXPECT_NEAR(count, draws / 6.0, 0.03 * draws / 6);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(random.below(1), 0u);
}

TEST(RandomSource, ExponentialHasItsMomentsAndTail) {
    RandomSource random(2);
    double sum = 0;
    double squares = 0;
    int above_two = 0;
    for (int i = 0; i < draws; ++i) {
        const double value = random.exponential();
        ASSERT_GE(value, 0);
        sum += value;
        squares += value * value;
        above_two += value > 2;
    }
    EXPECT_NEAR(sum / draws, 1, 0.01);
    EXPECT_NEAR(squares / draws, 2, 0.05);
    EXPECT_NEAR(above_two / static_cast<double>(draws), 0.1353, 0.003);
}

TEST(RandomSource, PoissonHasEqualMeanAndVariance) {
    RandomSource random(3);
    double sum = 0;
    double squares = 0;
    for (int i = 0; i < draws; ++i) {
        const double value = random.poisson(2.5);
        sum += value;
        squares += value * value;
    }
    const double mean = sum / draws;
    EXPECT_NEAR(mean, 2.5, 0.02);
    EXPECT_NEAR(squares / draws - mean * mean, 2.5, 0.05);
    EXPECT_EQ(random.poisson(0), 0);
}

TEST(RandomSource, DerivedSeedsDiffer) {
    EXPECT_NE(simulation::derived_seed(1, 0), simulation::derived_seed(1, 1));
    EXPECT_NE(simulation::derived_seed(1, 0), simulation::derived_seed(2, 0));
    EXPECT_EQ(simulation::derived_seed(7, 3), simulation::derived_seed(7, 3));
}

}  // namespace
