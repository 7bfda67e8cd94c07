#include "spare/rates.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace {

/// Variants at these positions in bp and cM.
void fill(snp_set& set, const std::vector<std::pair<int, double>>& positions) {
    for (const auto& [bp, cm] : positions) {
        set.put(snp(bp, "A", "G"));
        set.getByIndex(set.size() - 1)->cm = cm;
    }
}

TEST(InitialiseFromBases, DistancesFromPositions) {
    snp_set set;
    fill(set, {{100, -1}, {350, -1}, {350, -1}, {2000000000, -1}});
    hmm_parameters M;
    spare::initialise_from_bases(M, set, 0.0004);
    EXPECT_EQ(M.rho, (std::vector<double>{250.0 * 0.0004, 1e-5, 1999999650.0 * 0.0004}));
    EXPECT_EQ(M.nt.size(), 3U);
}

TEST(UpdateFromEstimates, InstallsThemAndClearsTheList) {
    snp_set set;
    fill(set, {{1, 0.0}, {2, 1.0}, {3, 2.0}, {4, 3.0}});
    hmm_parameters M;
    M.initialise(set, 100);
    std::vector<double> estimates = {0.25, 1e-6, 1e-5};
    spare::install_switch_probabilities(M, estimates, 50);
    EXPECT_EQ(M.t, (std::vector<double>{0.25, 1e-5, 1e-5}));
    EXPECT_EQ(M.tn, (std::vector<double>{0.25 / 50, 1e-5 / 50, 1e-5 / 50}));
    EXPECT_EQ(M.nt, (std::vector<double>{0.75, 0.99999, 1.0 - 1e-5}));
    EXPECT_EQ(estimates, std::vector<double>(3, 0.0));
}

TEST(UpdateFromEstimates, NaNIsNotRaised) {
    snp_set set;
    fill(set, {{1, 0.0}, {2, 1.0}});
    hmm_parameters M;
    M.initialise(set, 100);
    std::vector<double> estimates = {std::numeric_limits<double>::quiet_NaN()};
    spare::install_switch_probabilities(M, estimates, 50);
    EXPECT_TRUE(std::isnan(M.t[0]));
    EXPECT_TRUE(std::isnan(M.tn[0]));
    EXPECT_TRUE(std::isnan(M.nt[0]));
    EXPECT_EQ(estimates[0], 0.0);
}

}  // namespace
