#include "utils/random_source.h"

#include <gtest/gtest.h>

#include <cmath>
#include <latch>
#include <set>
#include <thread>
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

TEST(RandomSource, ThreadsShareOneStream) {
    constexpr int n_threads = 4, n_draws = 2000;
    support::plain_generator plain(5);
    std::multiset<double> expected;
    for (int i = 0; i < n_threads * n_draws; ++i) expected.insert(plain.draw());
    random_source random(5);
    std::vector<std::vector<double>> draws(n_threads);
    std::vector<std::thread> threads;
    for (auto& own : draws)
        threads.emplace_back([&own, &random] {
            for (int i = 0; i < n_draws; ++i) own.push_back(random.draw());
        });
    for (std::thread& thread : threads) thread.join();
    std::multiset<double> all;
    for (const auto& own : draws) all.insert(own.begin(), own.end());
    EXPECT_EQ(all, expected);
}

// So many draws that the threads interrupt each other many times. Without a lock, some draws would not move
// the stream on.
TEST(RandomSource, ThreadsThatDrawAtTheSameTimeTakeEachNumberOnce) {
    constexpr int n_threads = 4, n_draws = 1500000;
    random_source random(5);
    std::latch start(n_threads);
    std::vector<std::thread> threads;
    for (int t = 0; t < n_threads; ++t)
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int i = 0; i < n_draws; ++i) random.draw();
        });
    for (std::thread& thread : threads) thread.join();
    support::plain_generator plain(5);
    for (int i = 0; i < n_threads * n_draws; ++i) plain.draw();
    EXPECT_EQ(random.draw(), plain.draw());
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
