#include "utils/random_source.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/plain_generator.h"

namespace {

/// The first number drawn from a seed.
double plain_draw(long seed) {
    return support::plain_generator(seed).draw();
}

TEST(PlainGenerator, HasThePublishedCheckValue) {
    std::int64_t x = 1;
    for (int i = 0; i < 10000; ++i) x = support::plain_generator::next_state(x);
    EXPECT_EQ(x, 1043618065);  // Park and Miller (1988): the 10,000th state from 1
}

TEST(RandomSource, AgreesWithReference) {
    for (const long seed : {0L, 1L, 2L, 42L, 16807L, 127773L, 2147483646L, 2147483647L}) {
        support::plain_generator plain(seed);
        random_source random(seed);
        for (int i = 0; i < 5000; ++i) ASSERT_EQ(random.draw(), plain.draw()) << seed << ", draw " << i;
    }
}

TEST(RandomSource, FirstDraws) {
    // The first value is the table entry selected by the first entry of the filled table. These are the
    // published values of the shuffle for this start.
    random_source random(1);
    EXPECT_NEAR(random.draw(), 0.41599935, 1e-8);
    EXPECT_NEAR(random.draw(), 0.09196489, 1e-8);
    EXPECT_NEAR(random.draw(), 0.75641048, 1e-8);
}

TEST(RandomSource, SeedsZeroAndOneGiveTheSameStream) {
    random_source zero(0), one(1);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(zero.draw(), one.draw());
}

TEST(RandomSource, StateOfZeroRestarts) {
    // 2^31 - 1 is 0 in this arithmetic: one draw of 0, then the stream that starts from 1.
    random_source random(2147483647);
    EXPECT_EQ(random.draw(), 0.0);
    support::plain_generator from_one(1);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(random.draw(), from_one.draw());
}

TEST(RandomSource, StaysBelowOneAndIsUniform) {
    random_source random(12345);
    std::vector<int> counts(10, 0);
    for (int i = 0; i < 100000; ++i) {
        const double draw = random.draw();
        ASSERT_GT(draw, 0.0);
        ASSERT_LE(draw, 0.99999988);
        ++counts[static_cast<int>(draw * 10)];
    }
    double chi_square = 0.0;
    for (const int count : counts) chi_square += (count - 1e4) * (count - 1e4) / 1e4;
    EXPECT_LT(chi_square, 27.9);  // 9 degrees of freedom, 0.1 %
}

TEST(RandomSource, DrawBelowIsTheFloorOfTheProduct) {
    for (const int n : {1, 2, 3, 10, 1000000, 2000000000}) {
        support::plain_generator plain(77);
        random_source random(77);
        for (int i = 0; i < 200; ++i) {
            const int expected = static_cast<int>(std::floor(plain.draw() * n));
            const int draw = random.draw_below(n);
            ASSERT_EQ(draw, expected);
            ASSERT_GE(draw, 0);
            ASSERT_LT(draw, n);
        }
    }
}

TEST(RandomSource, ACopyGivesTheSameNumbers) {
    for (const int n_before : {0, 1, 50}) {
        random_source random(5);
        random.skip(n_before);
        random_source copy = random;
        for (int i = 0; i < 100; ++i) EXPECT_EQ(copy.draw(), random.draw());
    }
}

TEST(RandomSource, SkipLeavesOutNumbers) {
    support::plain_generator plain(5);
    random_source random(5);
    for (const int n : {0, 1, 31, 32, 33, 1000}) {
        random.skip(n);
        for (int i = 0; i < n; ++i) plain.draw();
        EXPECT_EQ(random.draw(), plain.draw()) << n;
    }
}

/// The first index at which the running sum exceeds u * sum; the last one is not tested.
int sample_plainly(const std::vector<double>& values, double sum, double u) {
    std::size_t i = 0;
    for (double running = values[0]; i + 1 < values.size() && running <= u * sum; running += values[i]) ++i;
    return static_cast<int>(i);
}

TEST(DrawIndex, FollowsTheRunningSum) {
    const std::vector<std::vector<double>> lists = {
        {1.0}, {0.5, 0.5}, {0.1, 0.2, 0.3, 0.4}, {0.0, 0.0, 1.0}, {3.0, 0.0, 5.0, 0.0}, {1e-300, 1.0, 1e300}};
    for (const auto& values : lists) {
        double sum = 0.0;
        for (const double value : values) sum += value;
        support::plain_generator plain(31);
        random_source random(31);
        for (int i = 0; i < 500; ++i)
            ASSERT_EQ(random.draw_index(values, sum), sample_plainly(values, sum, plain.draw()));
    }
}

TEST(DrawIndex, LastEntryIsTheFallback) {
    random_source random(3);
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(random.draw_index({0.0, 0.0, 0.0}, 1.0), 2);
        EXPECT_EQ(random.draw_index({0.1, 0.1}, 1e9), 1);
    }
}

TEST(DrawIndex, RunningSumMustExceedTheBound) {
    for (long seed = 1; seed <= 50; ++seed) {
        const double u = plain_draw(seed);
        random_source at(seed), above(seed);
        EXPECT_EQ(at.draw_index({u, 1.0}, 1.0), 1) << "the running sum equals the bound";
        EXPECT_EQ(above.draw_index({std::nextafter(u, 2.0), 1.0}, 1.0), 0)
            << "the running sum is just above the bound";
    }
}

TEST(DrawIndex, OfNoWeightsIsZero) {
    random_source random(3);
    EXPECT_EQ(random.draw_index({}, 0.0), 0);
}

TEST(DrawIndex, AlwaysTakesOneDraw) {
    support::plain_generator plain(8);
    random_source random(8);
    for (const std::vector<double>& values : {std::vector<double>{1.0}, {1.0, 0.0}, {0.2, 0.3, 0.5}}) {
        EXPECT_LT(random.draw_index(values, 1.0), static_cast<int>(values.size()));
        plain.draw();
        EXPECT_EQ(random.draw(), plain.draw());
    }
}

}  // namespace
