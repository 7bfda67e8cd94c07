#include "selection/rate_learner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "selection/mosaic_cohort.h"

namespace {

class RateLearner : public ::testing::Test {
  protected:
    void learn(rate_learner& learner) {
        learner.start_iteration();
        learner.learn(std::vector<int>{0, static_cast<int>(learner.sites().size())});
    }

    std::mt19937 random{3};
    worker_team team{1};
};

TEST_F(RateLearner, HasOneSiteInEachStretchOfOneStep) {
    const genhap_set set = mosaics::cohort(mosaics::haplotypes(10, 500, random), 5);
    rate_learner learner(set, {.step = 0.03}, team);
    learner.start_iteration();
    std::map<int, int> n_in_stretch;
    for (const int l : learner.sites())
        ++n_in_stretch[static_cast<int>(std::floor(set.snps.getByIndex(l)->cm / 0.03))];
    std::set<int> stretches;
    for (const snp& variant : set.snps.snp_list)
        stretches.insert(static_cast<int>(std::floor(variant.cm / 0.03)));
    EXPECT_EQ(n_in_stretch.size(), stretches.size()) << "each stretch with a variant has a site";
    for (const auto& [stretch, n] : n_in_stretch) EXPECT_EQ(n, 1);
    EXPECT_TRUE(std::ranges::is_sorted(learner.sites()));
}

TEST_F(RateLearner, EachIterationAndSeedHasAStreamOfItsOwn) {
    const genhap_set set = mosaics::cohort(mosaics::haplotypes(10, 500, random), 5);
    std::set<std::vector<int>> sites;
    std::set<double> draws;
    for (const long seed : {1L, 2L, 3L}) {
        rate_learner learner(set, {.step = 0.03, .seed = seed}, team);
        for (int iteration = 0; iteration < 5; ++iteration) {
            draws.insert(learner.start_iteration().draw());
            sites.insert(learner.sites());
        }
    }
    EXPECT_EQ(sites.size(), 15U);
    EXPECT_EQ(draws.size(), 15U);
    rate_learner again(set, {.step = 0.03, .seed = 2}, team);
    again.start_iteration();
    EXPECT_TRUE(sites.contains(again.sites()));
}

TEST_F(RateLearner, KeepsWhatTheUserChose) {
    const genhap_set set = mosaics::cohort(mosaics::haplotypes(20, 300, random), 10);
    rate_learner learner(set, {.jumps_per_cm = 7.0, .mismatch = 0.03}, team);
    learn(learner);
    EXPECT_EQ(learner.jumps_per_cm(), 7.0);
    EXPECT_EQ(learner.mismatch(), 0.03);
    EXPECT_EQ(learner.text(), "7.000 jumps per cM, mismatch probability 0.030000");
    for (int ind = 0; ind < 10; ++ind) {
        EXPECT_NEAR(learner.rates(ind).jump[5], 1.0 - std::exp(-0.07), 1e-6);
        EXPECT_FLOAT_EQ(learner.rates(ind).mismatch, 0.03F / 0.97F);
    }
}

TEST_F(RateLearner, HoldsTheMismatchProbabilityWithinBounds) {
    for (const auto& [mutations, expected] : {std::pair(0.0, 0.001), {0.1, 0.01}}) {
        const genhap_set set = mosaics::cohort(mosaics::haplotypes(60, 2000, random, 8, 2000, mutations), 30);
        rate_learner learner(set, {.step = 0.03}, team);
        learn(learner);
        EXPECT_EQ(learner.mismatch(), expected);
    }
}

// A tenth of the cohort has relatives.
TEST_F(RateLearner, RatesOfAnIndividualAreWithinItsClass) {
    const genhap_set set =
        mosaics::cohort(mosaics::with_children(mosaics::haplotypes(80, 2000, random, 30, 50)), 40);
    rate_learner learner(set, {.step = 0.03}, team);
    learn(learner);
    std::set<double> rates;
    for (int ind = 0; ind < 40; ++ind) {
        const double rate = -std::log(1.0 - learner.rates(ind).jump[100]) / mosaics::SPACING;
        rates.insert(rate);
        const double steps = 2.0 * std::log2(rate / learner.jumps_per_cm());
        EXPECT_NEAR(steps, std::round(steps), 1e-3) << "a whole number of factors of the square root of 2";
        if (ind < mosaics::N_CHILDREN)
            EXPECT_LT(rate, 0.4 * learner.jumps_per_cm());
        else
            EXPECT_GT(rate, 0.2 * learner.jumps_per_cm());
    }
    EXPECT_GT(rates.size(), 1U);
}

TEST_F(RateLearner, LimitsTheSitesOfAStretch) {
    const genhap_set set = mosaics::cohort(mosaics::haplotypes(30, 50, random), 10);
    const double bytes = 2.0 * (8 * 30 + 4 * 20);
    EXPECT_EQ(rate_learner(set, {.most_order_bytes = 5.5 * bytes}, team).most_sites(), 5);
    EXPECT_EQ(rate_learner(set, {.most_order_bytes = 1.0}, team).most_sites(), 1) << "at least one";
}

}  // namespace
