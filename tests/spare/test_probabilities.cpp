#include "spare/probabilities.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/child_process.h"

namespace {

TEST(Normalise, DividesByTheSum) {
    std::vector<double> values = {1.0, 3.0, 0.0, 4.0};
    EXPECT_EQ(spare::normalise(values), 8.0);
    EXPECT_EQ(values, (std::vector<double>{0.125, 0.375, 0.0, 0.5}));
}

TEST(Normalise, ZeroSumLeavesTheValues) {
    std::vector<double> empty, zeros = {0.0, 0.0}, opposite = {2.0, -2.0};
    EXPECT_EQ(spare::normalise(empty), 0.0);
    EXPECT_TRUE(empty.empty());
    EXPECT_EQ(spare::normalise(zeros), 0.0);
    EXPECT_EQ(zeros, (std::vector<double>{0.0, 0.0}));
    EXPECT_EQ(spare::normalise(opposite), 0.0);
    EXPECT_EQ(opposite, (std::vector<double>{2.0, -2.0}));
}

TEST(Entropy, SumsOverEntriesAboveZero) {
    EXPECT_EQ(spare::entropy({}), 0.0);
    EXPECT_EQ(spare::entropy({1.0, 0.0, -3.0}), 0.0);
    EXPECT_DOUBLE_EQ(spare::entropy({0.5, 0.5}), -std::log(2.0));
    EXPECT_DOUBLE_EQ(spare::entropy({0.25, 0.75}), 0.25 * std::log(0.25) + 0.75 * std::log(0.75));
}

TEST(KLdistance, SumsWhereBothAreAboveZero) {
    EXPECT_EQ(spare::KLdistance({}, {}), 0.0);
    EXPECT_EQ(spare::KLdistance({0.3, 0.7}, {0.3, 0.7}), 0.0);
    EXPECT_EQ(spare::KLdistance({1.0, 0.0}, {0.0, 1.0}), 0.0);
    EXPECT_DOUBLE_EQ(spare::KLdistance({0.5, 0.5}, {0.25, 0.75}),
                     0.5 * std::log(2.0) + 0.5 * std::log(2.0 / 3.0));
    EXPECT_DOUBLE_EQ(spare::KLdistance({0.5, 0.5}, {0.0, 0.25}), 0.5 * std::log(2.0));
}

TEST(KLdistance, DifferentLengthsAbort) {
    EXPECT_TRUE(support::aborts_on("P.size() == Q.size()", [] { spare::KLdistance({1.0}, {0.5, 0.5}); }));
}

}  // namespace
