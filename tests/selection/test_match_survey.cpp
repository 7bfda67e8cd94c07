#include "selection/match_survey.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "selection/mosaic_cohort.h"
#include "selection/site_orders.h"
#include "support/haplotype_text.h"

namespace {

/// Surveys all sites that are `step` loci apart, from `first` on.
match_survey survey_of(const genhap_set& set, int first = 0, int step = 3, int n_threads = 1,
                       int sites_in_stretch = 1'000'000) {
    worker_team team(n_threads);
    site_orders orders(set, team);
    std::vector<int> sites, strangers, starts;
    for (int l = first; l < set.snps.size(); l += step) {
        sites.push_back(l);
        strangers.push_back(1 + (7 * l) % (set.n_haplotypes() - 1));
    }
    for (int s = 0; s < static_cast<int>(sites.size()); s += sites_in_stretch) starts.push_back(s);
    starts.push_back(static_cast<int>(sites.size()));
    match_survey survey(set);
    orders.survey(sites, starts, [&](int k) {
        const auto of = [&](const std::vector<int>& all) {
            return std::span(all).subspan(starts[k], starts[k + 1] - starts[k]);
        };
        survey.add(orders.to_right(), starts[k], of(sites), of(strangers), team);
    });
    survey.finish();
    return survey;
}

/// Haplotypes that copy one other for exactly 100 loci at a time, 1 cM, with some random alleles.
std::vector<std::string> pairs_of_copies(int n, int n_loci, double mutations, std::mt19937& random) {
    std::bernoulli_distribution is_mutated(mutations);
    std::vector<std::string> alleles(n);
    std::vector<int> order(n);
    for (int h = 0; h < n; ++h) order[h] = h;
    for (int first = 0; first < n_loci; first += 100) {
        std::shuffle(order.begin(), order.end(), random);
        for (int h = 0; h < n; h += 2) {
            const std::string shared = support::random_alleles(100, random);
            alleles[order[h]] += shared;
            alleles[order[h + 1]] += shared;
        }
    }
    for (std::string& a : alleles)
        for (char& allele : a)
            if (is_mutated(random)) allele = allele == '0' ? '1' : '0';
    return alleles;
}

class MatchSurvey : public ::testing::Test {
  protected:
    std::mt19937 random{11};
};

// The mean length on the right of a site is 0.5 cM. Of 200 haplotypes, one agrees by chance for some further
// 4 loci, 0.04 cM.
TEST_F(MatchSurvey, MeasuresTheRateOfJumps) {
    const genhap_set set = mosaics::cohort(pairs_of_copies(200, 2000, 0.0, random), 100);
    const match_survey survey = survey_of(set);
    EXPECT_NEAR(survey.jumps_per_cm(), 1.0 / 0.54, 0.1);
    EXPECT_LT(survey.mismatch(), 0.0005);
}

// Wrong alleles end matches too, but hardly change the rate of jumps.
TEST_F(MatchSurvey, TellsMismatchesFromJumps) {
    const genhap_set set = mosaics::cohort(pairs_of_copies(200, 4000, 0.002, random), 100);
    const match_survey survey = survey_of(set);
    EXPECT_GT(survey.mismatch(), 0.0015);
    EXPECT_LT(survey.mismatch(), 0.004) << "either of the two haplotypes may be wrong";
    EXPECT_NEAR(survey.jumps_per_cm(), 1.0 / 0.54, 0.3);
}

// The two haplotypes of some individuals change sides every 30 loci or so, which alone gives 3.3 ends per cM.
TEST_F(MatchSurvey, TellsWrongPhasesFromJumps) {
    std::vector<std::string> alleles = pairs_of_copies(200, 4000, 0.0, random);
    constexpr int N_SWAPPED = 10;
    for (int h = 0; h < 2 * N_SWAPPED; h += 2) {
        bool is_swapped = false;
        for (std::size_t l = 0; l < alleles[h].size(); ++l) {
            is_swapped ^= random() % 30 == 0;
            if (is_swapped) std::swap(alleles[h][l], alleles[h + 1][l]);
        }
    }
    const genhap_set set = mosaics::cohort(alleles, 100);
    const match_survey survey = survey_of(set);
    for (int ind = 0; ind < N_SWAPPED; ++ind) EXPECT_NEAR(survey.jumps_per_cm(ind), 1.0 / 0.54, 0.8);
}

// Four children have copies of whole haplotypes of their parents.
TEST_F(MatchSurvey, RelativesHaveLowRates) {
    const genhap_set set =
        mosaics::cohort(mosaics::with_children(mosaics::haplotypes(160, 2000, random, 30, 50)), 80);
    const match_survey survey = survey_of(set);
    double highest = 0.0, lowest = 1e9;
    for (int child = 0; child < mosaics::N_CHILDREN; ++child)
        highest = std::max(highest, survey.jumps_per_cm(child));
    for (int other = 20; other < 80; ++other) lowest = std::min(lowest, survey.jumps_per_cm(other));
    EXPECT_LT(highest, 0.3 * lowest);
}

TEST_F(MatchSurvey, FindsTheSameWithAnyThreadsAndStretches) {
    const genhap_set set = mosaics::cohort(mosaics::haplotypes(600, 400, random, 20, 50, 0.01), 290);
    const match_survey expected = survey_of(set, 1, 2);
    for (const auto& [n_threads, sites_in_stretch] : {std::pair(3, 1000), {1, 1}, {2, 13}, {1, 150}}) {
        const match_survey survey = survey_of(set, 1, 2, n_threads, sites_in_stretch);
        EXPECT_EQ(survey.jumps_per_cm(), expected.jumps_per_cm());
        EXPECT_EQ(survey.mismatch(), expected.mismatch());
        for (int ind = 0; ind < 290; ++ind) EXPECT_EQ(survey.jumps_per_cm(ind), expected.jumps_per_cm(ind));
    }
}

// One individual is measured at one site, locus 0. The longest match of both its haplotypes is haplotype 2,
// which differs at locus 4, 2 cM away: 0.5 ends per cM. Behind that, it conflicts at locus 7, 1.5 cM on.
// Haplotypes 3 and 4 stand for any others: they conflict at loci 5 and 6, 0.5 and 1 cM on. A share of 2 / 3
// of jumps explains this: behind jumps 0.75 cM, behind the others 1 / (0.5 * 2 / 3) = 3 cM, on average 1.5
// cM.
TEST_F(MatchSurvey, AddsUpAsByHand) {
    const genhap_set set = mosaics::cohort(
        {"0000000000", "0000000000", "0000100100", "0110011000", "1000001100", "1111111111"}, 3, 0.5);
    worker_team team(1);
    site_orders orders(set, team);
    match_survey survey(set);
    const std::vector<int> sites = {0}, starts = {0, 1}, strangers = {3};
    orders.survey(sites, starts,
                  [&](int /*k*/) { survey.add(orders.to_right(), 0, sites, strangers, team); });
    survey.finish();
    EXPECT_NEAR(survey.jumps_per_cm(), 0.5 * 2.0 / 3.0, 1e-12);
    // Alleles 5 and 6 agree behind the end, 1 cM, half of a match; none does behind a difference by chance.
    // So half of the 2 ends are mismatches, among 8 alleles.
    EXPECT_NEAR(survey.mismatch(), 1.0 / 8.0, 1e-12);
}

}  // namespace
