#include "selection/match_orders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "selection/mosaic_cohort.h"
#include "support/haplotype_text.h"

namespace {

constexpr int N_LOCI = 90, N_STUDY = 24;

/// Length of the match of two haplotypes that ends at `site`, in the direction of the move.
int match_length(const std::string& a, const std::string& b, int site, int direction) {
    int n = 0;
    for (int l = site; l >= 0 && l < N_LOCI && a[l] == b[l]; l -= direction) ++n;
    return n;
}

struct way {
    const char* name;
    locus_path path;
};

class match_order_ways : public ::testing::TestWithParam<way> {};

TEST_P(match_order_ways, FindTheLongestMatchesOfAllPairs) {
    std::mt19937 random(8);
    const int direction = GetParam().path.first <= GetParam().path.last ? 1 : -1;
    for (int trial = 0; trial < 20; ++trial) {
        const int n = N_STUDY + (trial % 2) * 7;
        const std::vector<std::string> alleles = mosaics::haplotypes(n, N_LOCI, random, 5, 15, 1.0 / 60);
        allele_rows rows;
        rows.copy(support::haplotypes(alleles), 0, N_LOCI - 1);
        const std::vector<int> sites = {0, 1, 33, 34, 70, N_LOCI - 1};
        match_orders orders;
        prefix_order order(n);
        orders.fill(rows, GetParam().path, order, sites, N_STUDY);
        for (int s = 0; s < static_cast<int>(sites.size()); ++s)
            for (int h = 0; h < N_STUDY; ++h)
                for (const int depth : {1, 4, 100}) {
                    std::vector<int> expected, found, haplotypes;
                    for (int other = 0; other < n; ++other)
                        if (other / 2 != h / 2)
                            expected.push_back(match_length(alleles[h], alleles[other], sites[s], direction));
                    std::erase(expected, 0);
                    std::ranges::sort(expected, std::greater());
                    if (static_cast<int>(expected.size()) > depth) expected.resize(depth);
                    orders.nearest(s, h, depth, [&](int other, int start) {
                        haplotypes.push_back(other);
                        found.push_back(std::abs(sites[s] - start) + 1);
                        EXPECT_NE(other / 2, h / 2);
                        EXPECT_EQ(found.back(),
                                  match_length(alleles[h], alleles[other], sites[s], direction));
                    });
                    EXPECT_EQ(found, expected) << "longest first";
                    std::ranges::sort(haplotypes);
                    EXPECT_EQ(std::ranges::adjacent_find(haplotypes), haplotypes.end()) << "each once";
                }
    }
}

INSTANTIATE_TEST_SUITE_P(MatchOrders, match_order_ways,
                         ::testing::Values(way{"from_left", {0, N_LOCI - 1}},
                                           way{"from_right", {N_LOCI - 1, 0}}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(MatchOrders, ManyIdenticalHaplotypesAreTakenInOrder) {
    const std::vector<chaplotype> H(10, support::haplotype("0110"));
    allele_rows rows;
    rows.copy(H, 0, 3);
    match_orders orders;
    prefix_order order(10);
    orders.fill(rows, {0, 3}, order, std::vector<int>{3}, 10);
    std::vector<int> found;
    orders.nearest(0, 5, 6, [&](int other, int start) {
        found.push_back(other);
        EXPECT_EQ(start, 0);
    });
    EXPECT_EQ(found, (std::vector<int>{3, 2, 1, 0, 6, 7}));
}

}  // namespace
