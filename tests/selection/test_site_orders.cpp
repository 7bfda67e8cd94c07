#include "selection/site_orders.h"

#include <gtest/gtest.h>

#include <tuple>

#include "selection/mosaic_cohort.h"

namespace {

using matches = std::vector<std::tuple<int, int, int, int>>;  // site, haplotype, match, far end

void add_matches(const match_orders& orders, int first_site, int n_sites, int n_study, matches& out) {
    for (int s = 0; s < n_sites; ++s)
        for (int h = 0; h < n_study; ++h)
            orders.nearest(s, h, 3,
                           [&](int other, int end) { out.emplace_back(first_site + s, h, other, end); });
}

struct division {
    const char* name;
    std::vector<int> starts;
};

class site_order_divisions : public ::testing::TestWithParam<division> {};

// What is found does not depend on how the chromosome is divided, nor on the number of threads.
TEST_P(site_order_divisions, FindTheMatchesOfTheWholeChromosome) {
    std::mt19937 random(4);
    constexpr int N_LOCI = 500, N_STUDY = 20;
    const genhap_set set = mosaics::cohort(mosaics::haplotypes(27, N_LOCI, random), N_STUDY / 2);
    std::vector<int> sites;
    for (int l = 3; l < N_LOCI; l += 9) sites.push_back(l);
    const int n_sites = static_cast<int>(sites.size());
    allele_rows rows;
    rows.copy(set.vecH, 0, N_LOCI - 1);
    match_orders left, right;
    prefix_order from_left(27), from_right(27);
    left.fill(rows, {0, N_LOCI - 1}, from_left, sites, N_STUDY);
    right.fill(rows, {N_LOCI - 1, 0}, from_right, sites, N_STUDY);
    matches expected_left, expected_right;
    add_matches(left, 0, n_sites, N_STUDY, expected_left);
    add_matches(right, 0, n_sites, N_STUDY, expected_right);

    const std::vector<int>& starts = GetParam().starts;
    const int n = static_cast<int>(starts.size()) - 1;
    ASSERT_EQ(starts.back(), n_sites);
    for (const int n_threads : {1, 3}) {
        worker_team team(n_threads);
        site_orders orders(set, team);
        std::vector<int> visited;
        std::vector<matches> surveyed(n);
        orders.survey(sites, starts, [&](int k) {
            visited.push_back(k);
            add_matches(orders.to_right(), starts[k], starts[k + 1] - starts[k], N_STUDY, surveyed[k]);
        });
        matches found_left, found_right, found_by_survey;
        for (int k = 0; k < n; ++k) {
            if (k > 0) orders.open_next();
            EXPECT_EQ(visited[k], n - 1 - k);
            EXPECT_EQ(orders.stretch(), k);
            EXPECT_EQ(orders.first_site(), starts[k]);
            add_matches(orders.to_left(), starts[k], starts[k + 1] - starts[k], N_STUDY, found_left);
            add_matches(orders.to_right(), starts[k], starts[k + 1] - starts[k], N_STUDY, found_right);
            found_by_survey.insert(found_by_survey.end(), surveyed[k].begin(), surveyed[k].end());
        }
        EXPECT_EQ(found_left, expected_left);
        EXPECT_EQ(found_right, expected_right);
        EXPECT_EQ(found_by_survey, expected_right);
    }
}

INSTANTIATE_TEST_SUITE_P(SiteOrders, site_order_divisions,
                         ::testing::Values(division{"one", {0, 56}}, division{"two", {0, 30, 56}},
                                           division{"a_site_at_either_end", {0, 1, 55, 56}},
                                           division{"single_sites", {0, 10, 11, 12, 13, 40, 56}}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(SiteOrders, CanBeUsedAgain) {
    std::mt19937 random(4);
    genhap_set set = mosaics::cohort(mosaics::haplotypes(10, 60, random), 5);
    worker_team team(1);
    site_orders orders(set, team);
    const auto found = [&] {
        matches all;
        orders.survey(std::vector<int>{5, 20, 50}, std::vector<int>{0, 2, 3}, [](int /*k*/) {});
        add_matches(orders.to_left(), 0, 2, 10, all);
        return all;
    };
    const matches first = found();
    EXPECT_EQ(found(), first);
    set.vecH[3] = set.vecH[8];
    EXPECT_NE(found(), first) << "the orders follow the current haplotypes";
}

}  // namespace
