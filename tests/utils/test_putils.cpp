#include "utils/putils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <set>
#include <thread>

#include "support/child_process.h"
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

TEST(GetRandom, AgreesWithThePlainGenerator) {
    for (const long seed : {0L, 1L, 2L, 42L, 16807L, 127773L, 2147483646L, 2147483647L}) {
        support::plain_generator plain(seed);
        putils::initRandom(seed);
        for (int i = 0; i < 5000; ++i) ASSERT_EQ(putils::getRandom(), plain.draw()) << seed << ", draw " << i;
    }
}

TEST(GetRandom, FirstDrawsByHand) {
    // The first value is the entry of the filled table that its own first entry points to; these are the
    // values printed with the published shuffle for this start.
    putils::initRandom(1);
    EXPECT_NEAR(putils::getRandom(), 0.41599935, 1e-8);
    EXPECT_NEAR(putils::getRandom(), 0.09196489, 1e-8);
    EXPECT_NEAR(putils::getRandom(), 0.75641048, 1e-8);
}

TEST(GetRandom, SeedsZeroAndOneGiveOneStream) {
    putils::initRandom(0);
    std::vector<double> zero;
    for (int i = 0; i < 100; ++i) zero.push_back(putils::getRandom());
    putils::initRandom(1);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(putils::getRandom(), zero[i]);
}

TEST(GetRandom, DeadSeedStartsAnew) {
    // 2^31 - 1 is 0 in this arithmetic: one draw of 0, then the stream that starts from 1.
    putils::initRandom(2147483647);
    EXPECT_EQ(putils::getRandom(), 0.0);
    support::plain_generator from_one(1);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(putils::getRandom(), from_one.draw());
}

TEST(GetRandom, StaysBelowOneAndIsEven) {
    putils::initRandom(12345);
    std::vector<int> counts(10, 0);
    for (int i = 0; i < 100000; ++i) {
        const double draw = putils::getRandom();
        ASSERT_GT(draw, 0.0);
        ASSERT_LE(draw, 0.99999988);
        ++counts[static_cast<int>(draw * 10)];
    }
    double chi_square = 0.0;
    for (const int count : counts) chi_square += (count - 1e4) * (count - 1e4) / 1e4;
    EXPECT_LT(chi_square, 27.9);  // 9 degrees of freedom, 0.1 %
}

TEST(GetRandom, OfNIsTheFloorOfTheProduct) {
    for (const int n : {1, 2, 3, 10, 1000000, 2000000000}) {
        support::plain_generator plain(77);
        putils::initRandom(77);
        for (int i = 0; i < 200; ++i) {
            const int expected = static_cast<int>(std::floor(plain.draw() * n));
            const int draw = putils::getRandom(n);
            ASSERT_EQ(draw, expected);
            ASSERT_GE(draw, 0);
            ASSERT_LT(draw, n);
        }
    }
}

TEST(GetRandom, ThreadsShareOutOneStream) {
    constexpr int n_threads = 4, n_draws = 2000;
    support::plain_generator plain(5);
    std::multiset<double> expected;
    for (int i = 0; i < n_threads * n_draws; ++i) expected.insert(plain.draw());
    putils::initRandom(5);
    std::vector<std::vector<double>> draws(n_threads);
    std::vector<std::thread> threads;
    for (auto& own : draws)
        threads.emplace_back([&own] {
            for (int i = 0; i < n_draws; ++i) own.push_back(putils::getRandom());
        });
    for (std::thread& thread : threads) thread.join();
    std::multiset<double> all;
    for (const auto& own : draws) all.insert(own.begin(), own.end());
    EXPECT_EQ(all, expected);
}

TEST(GetSeed, IsTheStateOfTheGenerator) {
    putils::initRandom(9);
    EXPECT_EQ(putils::getSeed(), -9);
    std::int64_t state = 9;
    for (int step = 0; step < 41; ++step) state = support::plain_generator::next_state(state);
    putils::getRandom();  // 8 steps to warm up, 32 to fill the table, one for the draw
    EXPECT_EQ(putils::getSeed(), state);
}

TEST(Normalise, DividesByTheSum) {
    std::vector<double> values = {1.0, 3.0, 0.0, 4.0};
    EXPECT_EQ(putils::normalise(values), 8.0);
    EXPECT_EQ(values, (std::vector<double>{0.125, 0.375, 0.0, 0.5}));
}

TEST(Normalise, LeavesNothingToDivideAlone) {
    std::vector<double> empty, zeros = {0.0, 0.0}, opposite = {2.0, -2.0};
    EXPECT_EQ(putils::normalise(empty), 0.0);
    EXPECT_TRUE(empty.empty());
    EXPECT_EQ(putils::normalise(zeros), 0.0);
    EXPECT_EQ(zeros, (std::vector<double>{0.0, 0.0}));
    EXPECT_EQ(putils::normalise(opposite), 0.0);
    EXPECT_EQ(opposite, (std::vector<double>{2.0, -2.0}));
}

/// The first index at which the running sum passes u * sum; the last one needs no test.
int sample_plainly(const std::vector<double>& values, double sum, double u) {
    std::size_t i = 0;
    for (double running = values[0]; i + 1 < values.size() && running <= u * sum; running += values[i]) ++i;
    return static_cast<int>(i);
}

TEST(Sample, FollowsTheRunningSum) {
    const std::vector<std::vector<double>> lists = {
        {1.0}, {0.5, 0.5}, {0.1, 0.2, 0.3, 0.4}, {0.0, 0.0, 1.0}, {3.0, 0.0, 5.0, 0.0}, {1e-300, 1.0, 1e300}};
    for (const auto& values : lists) {
        double sum = 0.0;
        for (const double value : values) sum += value;
        support::plain_generator plain(31);
        putils::initRandom(31);
        for (int i = 0; i < 500; ++i)
            ASSERT_EQ(putils::sample(values, sum), sample_plainly(values, sum, plain.draw()));
    }
}

TEST(Sample, LastEntryIsTheFallback) {
    putils::initRandom(3);
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(putils::sample({0.0, 0.0, 0.0}, 1.0), 2);
        EXPECT_EQ(putils::sample({0.1, 0.1}, 1e9), 1);
    }
}

TEST(Sample, RunningSumMustPassTheBound) {
    for (long seed = 1; seed <= 50; ++seed) {
        const double u = plain_draw(seed);
        putils::initRandom(seed);
        EXPECT_EQ(putils::sample({u, 1.0}, 1.0), 1) << "equal to the bound";
        putils::initRandom(seed);
        EXPECT_EQ(putils::sample({std::nextafter(u, 2.0), 1.0}, 1.0), 0) << "just above it";
    }
}

TEST(Sample, AlwaysTakesOneDraw) {
    support::plain_generator plain(8);
    putils::initRandom(8);
    for (const std::vector<double>& values : {std::vector<double>{1.0}, {1.0, 0.0}, {0.2, 0.3, 0.5}}) {
        EXPECT_LT(putils::sample(values, 1.0), static_cast<int>(values.size()));
        plain.draw();
        EXPECT_EQ(putils::getRandom(), plain.draw());
    }
}

TEST(Entropy, SumsOverEntriesAboveZero) {
    EXPECT_EQ(putils::entropy({}), 0.0);
    EXPECT_EQ(putils::entropy({1.0, 0.0, -3.0}), 0.0);
    EXPECT_DOUBLE_EQ(putils::entropy({0.5, 0.5}), -std::log(2.0));
    EXPECT_DOUBLE_EQ(putils::entropy({0.25, 0.75}), 0.25 * std::log(0.25) + 0.75 * std::log(0.75));
}

TEST(KLdistance, SumsWhereBothAreAboveZero) {
    EXPECT_EQ(putils::KLdistance({}, {}), 0.0);
    EXPECT_EQ(putils::KLdistance({0.3, 0.7}, {0.3, 0.7}), 0.0);
    EXPECT_EQ(putils::KLdistance({1.0, 0.0}, {0.0, 1.0}), 0.0);
    EXPECT_DOUBLE_EQ(putils::KLdistance({0.5, 0.5}, {0.25, 0.75}),
                     0.5 * std::log(2.0) + 0.5 * std::log(2.0 / 3.0));
    EXPECT_DOUBLE_EQ(putils::KLdistance({0.5, 0.5}, {0.0, 0.25}), 0.5 * std::log(2.0));
}

TEST(KLdistance, ListsOfTwoLengthsAbort) {
    EXPECT_TRUE(support::aborts_on("P.size() == Q.size()", [] { putils::KLdistance({1.0}, {0.5, 0.5}); }));
}

TEST(GetRandomID, IsANewUuidWhateverTheSeed) {
    const std::regex uuid("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    putils::initRandom(1);
    const std::string first = putils::getRandomID();
    putils::initRandom(1);
    EXPECT_TRUE(std::regex_match(first, uuid)) << first;
    EXPECT_NE(putils::getRandomID(), first);
    EXPECT_EQ(putils::getRandom(), plain_draw(1)) << "takes nothing from the stream";
}

}  // namespace
