#include "models/hmm_parameters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "containers/snp_set.h"

namespace {

/// Variants at these positions in bp and cM.
void fill(snp_set& set, const std::vector<std::pair<int, double>>& positions) {
    for (const auto& [bp, cm] : positions) {
        set.put(snp(bp, "A", "G"));
        set.getByIndex(set.size() - 1)->cm = cm;
    }
}

TEST(HmmParameters, StartEmpty) {
    const hmm_parameters M;
    EXPECT_TRUE(M.rho.empty() && M.t.empty() && M.tn.empty() && M.nt.empty());
    EXPECT_EQ(M.em_match, 0.0);
    EXPECT_EQ(M.em_mismatch, 0.0);
    EXPECT_EQ(M.em_match_n, 0.0);
    EXPECT_EQ(M.em_mismatch_n, 0.0);
}

TEST(HmmParameters, DistancesFromTheGeneticMap) {
    snp_set set;
    fill(set, {{100, 0.0}, {200, 0.25}, {300, 0.25}, {400, 1.5}});
    hmm_parameters M;
    M.initialise(set, 15000);
    const double scale = 15000.0 * 0.04;
    EXPECT_EQ(M.rho, (std::vector<double>{0.25 * scale, 1e-5, 1.25 * scale}));
    EXPECT_EQ(M.t, std::vector<double>(3, 0.0));
    EXPECT_EQ(M.tn, M.t);
    EXPECT_EQ(M.nt, M.t);
}

TEST(HmmParameters, ScaleIsComputedFirst) {
    // 0.1 * (3 * 0.04) and (0.1 * 3) * 0.04 differ in the last bit.
    snp_set set;
    fill(set, {{1, 0.0}, {2, 0.1}});
    hmm_parameters M;
    M.initialise(set, 3);
    EXPECT_EQ(M.rho[0], 0.1 * (3.0 * 0.04));
}

TEST(HmmParameters, NegativeAndNaNDistancesAreKept) {
    snp_set set;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    fill(set, {{1, 1.0}, {2, 0.5}, {3, nan}, {4, 1.0}});
    hmm_parameters M;
    M.initialise(set, 25);  // a scale of 1
    EXPECT_EQ(M.rho[0], -0.5);
    EXPECT_TRUE(std::isnan(M.rho[1]));
    EXPECT_TRUE(std::isnan(M.rho[2]));
}

TEST(HmmParameters, SecondInitialisationReplacesTheFirst) {
    snp_set three, two;
    fill(three, {{1, 0.0}, {2, 1.0}, {3, 2.0}});
    fill(two, {{1, 0.0}, {2, 1.0}});
    hmm_parameters M;
    M.initialise(three, 100);
    M.update(10, 5);
    M.initialise(two, 100);
    EXPECT_EQ(M.rho.size(), 1U);
    EXPECT_EQ(M.t, std::vector<double>{0.0});
}

TEST(HmmParameters, OneVariantHasNoInterval) {
    snp_set one, none;
    fill(one, {{1, 0.0}});
    for (const snp_set* set : {&one, &none}) {
        hmm_parameters M;
        M.initialise(*set, 100);
        M.update(3, 3);
        EXPECT_TRUE(M.rho.empty() && M.t.empty() && M.tn.empty() && M.nt.empty());
        EXPECT_EQ(M.em_match, 0.875);
    }
}

TEST(Update, ExamplesOfEmissions) {
    // h = 1 for 3 haplotypes, so theta is 1; h = 1 + 1/2 for 4, so theta is 2/3.
    hmm_parameters M;
    M.update(3, 2);
    EXPECT_EQ(M.em_mismatch, 0.125);
    EXPECT_EQ(M.em_match, 0.875);
    EXPECT_EQ(M.em_mismatch_n, 0.0625);
    EXPECT_EQ(M.em_match_n, 0.4375);
    M.update(4, 1);
    EXPECT_DOUBLE_EQ(M.em_mismatch, 1.0 / 14.0);
    EXPECT_DOUBLE_EQ(M.em_match, 13.0 / 14.0);
}

TEST(Update, EmissionsSumToOne) {
    for (const int nhap : {3, 5, 10, 100, 1000, 50000}) {
        hmm_parameters M;
        M.update(nhap, 100);
        EXPECT_NEAR(M.em_match + M.em_mismatch, 1.0, 1e-15);
        double h = 0.0;
        for (int i = nhap - 2; i >= 1; --i) h += 1.0 / i;  // summed in the other order
        EXPECT_NEAR(M.em_mismatch, 0.5 / (nhap * h + 1.0), 1e-12 * M.em_mismatch);
        EXPECT_EQ(M.em_match_n, M.em_match / 100);
        EXPECT_EQ(M.em_mismatch_n, M.em_mismatch / 100);
    }
}

TEST(Update, TwoHaplotypesHaveNoEmissions) {
    for (const int nhap : {1, 2}) {
        hmm_parameters M;
        M.update(nhap, 2);
        EXPECT_TRUE(std::isnan(M.em_match));
        EXPECT_TRUE(std::isnan(M.em_mismatch));
    }
}

// The C library is off by one unit in the last place at these values on some processors.
TEST(Update, ExponentialsAreTheNearestDoubles) {
    snp_set set;
    fill(set, {{0, 0.0}, {40, 0.0}, {2561, 0.0}, {6316, 0.0}});
    hmm_parameters M;
    M.set_distances(set, [](const snp& left, const snp& right) { return (right.bp - left.bp) * 0.0004; });
    M.update(1000, 100);
    EXPECT_EQ(M.nt[0], 0x1.fffde72225627p-1);
    EXPECT_EQ(M.nt[1], 0x1.ff7be4c3ea621p-1);
    EXPECT_EQ(M.nt[2], 0x1.ff3b4712db5a3p-1);
}

TEST(Update, DistanceIsDividedByHaplotypesAndJumpsByStates) {
    snp_set set;
    fill(set, {{1, 0.0}, {2, 2.0}, {3, 2.0}});
    hmm_parameters M;
    M.initialise(set, 1000);  // rho is 80 and 1e-5
    M.update(1000, 100);
    EXPECT_EQ(M.nt[0], 0x1.d8a2b4ac44685p-1) << "the double nearest to exp(-0.08)";
    EXPECT_EQ(M.t[0], 1.0 - M.nt[0]);
    EXPECT_EQ(M.tn[0], M.t[0] / 100);
    EXPECT_GT(M.t[1], 0.0) << "a jump stays possible between variants at one position";
    EXPECT_NEAR(M.t[1], 1e-8, 1e-15);
}

}  // namespace
