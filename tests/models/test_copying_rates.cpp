#include "models/copying_rates.h"

#include <gtest/gtest.h>

#include <cmath>

#include "containers/snp_set.h"

namespace {

TEST(ProbabilityOfEvent, IsThatOfAPoissonProcess) {
    EXPECT_EQ(probability_of_event(0.0), 0.0);
    EXPECT_EQ(probability_of_event(1e9), 1.0);
    EXPECT_EQ(probability_of_event(INFINITY), 1.0);
    for (double x = 1e-12; x < 100.0; x *= 1.01)
        EXPECT_NEAR(probability_of_event(x), -std::expm1(-x), -1e-14 * std::expm1(-x)) << x;
}

TEST(CopyingRates, JumpsFollowTheGeneticDistance) {
    snp_set variants;
    for (const double cm : {0.5, 0.5, 1.5, 400.0}) {
        variants.put(snp(100, "A", "G"));
        variants.snp_list.back().cm = cm;
    }
    copying_rates rates;
    rates.set_jumps(variants, 2.0);
    ASSERT_EQ(rates.jump.size(), 3U);
    EXPECT_GT(rates.jump[0], 0.0F) << "a jump is possible between variants at one position";
    EXPECT_LT(rates.jump[0], 1e-6F);
    EXPECT_FLOAT_EQ(rates.jump[1], static_cast<float>(1.0 - std::exp(-2.0)));
    EXPECT_EQ(rates.jump[2], 1.0F);
}

TEST(CopyingRates, OneVariantHasNoInterval) {
    snp_set variants;
    variants.put(snp(100, "A", "G"));
    copying_rates rates;
    rates.set_jumps(variants, 1.0);
    EXPECT_TRUE(rates.jump.empty());
}

TEST(CopyingRates, EmissionsAreRelativeToThatOfAMatch) {
    copying_rates rates;
    rates.set_mismatch(0.2);
    EXPECT_FLOAT_EQ(rates.mismatch, 0.25F);
}

}  // namespace
