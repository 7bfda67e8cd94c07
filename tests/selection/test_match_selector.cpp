#include "selection/match_selector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <set>

#include "selection/mosaic_cohort.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"

namespace {

match_settings usual() {
    return {.n_states = 12, .depth = 4, .learning = {.step = 0.03, .seed = 5}};
}

/// The jobs of an iteration, and the haplotypes selected for each, by individual and window.
using selections = std::map<std::pair<int, int>, std::vector<int>>;

selections select_all(match_selector& selector) {
    random_source unused(1);
    selector.prepare(true, unused);
    const auto worker = selector.make_worker();
    selections all;
    for (int stretch = 0; stretch < selector.n_stretches(); ++stretch) {
        if (stretch > 0) selector.next_stretch();
        for (const phasing_job& job : selector.list_jobs(unused)) {
            std::vector<int> idx;
            worker->measure({&job, 1});
            worker->draw(unused);
            worker->choose(0, idx);
            EXPECT_TRUE(all.emplace(std::pair(job.individual, job.window), idx).second);
        }
    }
    return all;
}

class MatchSelector : public ::testing::Test {
  protected:
    support::log_capture silenced;
    std::mt19937 random{9};
    worker_team team{1};
};

TEST_F(MatchSelector, TakesNoDraws) {
    const genhap_set set = mosaics::cohort(mosaics::haplotypes(40, 500, random), 20);
    match_selector selector(set, usual(), team);
    random_source draws(3), untouched(3);
    selector.prepare(true, draws);
    const std::vector<phasing_job> jobs = selector.list_jobs(draws);
    const auto worker = selector.make_worker();
    worker->measure(jobs);
    worker->draw(draws);
    EXPECT_EQ(draws.draw(), untouched.draw());
}

TEST_F(MatchSelector, SelectsTheSameWithAnyNumberOfThreads) {
    const genhap_set set = mosaics::cohort(mosaics::haplotypes(40, 500, random), 20);
    match_selector alone(set, usual(), team);
    const selections expected = select_all(alone);
    for (const int n : {2, 3, 8}) {
        worker_team several(n);
        match_selector selector(set, usual(), several);
        EXPECT_EQ(select_all(selector), expected);
        EXPECT_EQ(selector.learning().text(), alone.learning().text());
    }
}

TEST_F(MatchSelector, ChoosesOtherSitesAndWindowsInEachIterationAndForEachSeed) {
    const genhap_set set = mosaics::cohort(mosaics::haplotypes(40, 2000, random), 20);
    std::set<std::vector<int>> sites, borders;
    for (const long seed : {1L, 2L, 3L}) {
        match_settings settings = usual();
        settings.learning.seed = seed;
        match_selector selector(set, settings, team);
        for (int iteration = 0; iteration < 5; ++iteration) {
            random_source unused(1);
            selector.prepare(true, unused);
            sites.insert(selector.sites());
            borders.insert(selector.borders());
        }
    }
    EXPECT_EQ(sites.size(), 15U);
    EXPECT_EQ(borders.size(), 15U);
}

// Whatever part of the orders is in memory at a time, the same haplotypes are selected.
TEST_F(MatchSelector, SelectsTheSameStretchByStretch) {
    const genhap_set set = mosaics::cohort(mosaics::haplotypes(45, 3000, random), 20);
    match_settings settings = usual();
    match_selector whole(set, settings, team);
    const selections expected = select_all(whole);
    EXPECT_EQ(whole.n_stretches(), 1);
    EXPECT_EQ(expected.size(), 20 * (whole.borders().size() - 1));
    const double bytes_per_site = 2.0 * match_orders::bytes_per_site(45, 40);
    for (const double most_sites : {1.0, 300.0}) {
        settings.learning.most_order_bytes = bytes_per_site * most_sites;
        match_selector parts(set, settings, team);
        EXPECT_EQ(select_all(parts), expected);
        EXPECT_EQ(parts.learning().text(), whole.learning().text());
        const int n_windows = static_cast<int>(parts.borders().size()) - 1;
        EXPECT_GT(parts.n_stretches(), 1);
        if (most_sites > 1.0) {
            EXPECT_GE(parts.n_stretches() * most_sites, static_cast<double>(parts.sites().size()));
        }
        EXPECT_EQ(parts.n_stretches() == n_windows, most_sites == 1.0) << "one window is the least";
    }
}

TEST_F(MatchSelector, TakesTheHaplotypesNotedMostOften) {
    const std::vector<std::string> alleles = mosaics::haplotypes(60, 600, random);
    const genhap_set set = mosaics::cohort(alleles, 20);
    match_selector selector(set, usual(), team);
    const selections selected = select_all(selector);
    allele_rows rows;
    rows.copy(set.vecH, 0, 599);
    match_orders to_left, to_right;
    prefix_order from_left(60), from_right(60);
    to_left.fill(rows, {0, 599}, from_left, selector.sites(), 40);
    to_right.fill(rows, {599, 0}, from_right, selector.sites(), 40);
    EXPECT_EQ(selected.size(), 20 * (selector.borders().size() - 1));
    for (const auto& [job, found] : selected) {
        const auto [individual, window] = job;
        const int first = selector.borders()[window];
        const bool is_last = window + 2 == static_cast<int>(selector.borders().size());
        const int end = selector.borders()[window + 1] + (is_last ? 1 : 0);
        std::map<int, int> n_notes;
        const auto note = [&](int h, int /*locus*/) { ++n_notes[h]; };
        for (int s = 0; s < static_cast<int>(selector.sites().size()); ++s) {
            if (selector.sites()[s] < first || selector.sites()[s] >= end) continue;
            for (const int h : haplotypes_of(individual)) {
                to_left.nearest(s, h, 4, note);
                to_right.nearest(s, h, 4, note);
            }
        }
        std::vector<int> expected;
        for (const auto& [h, n] : n_notes) expected.push_back(h);
        std::ranges::stable_sort(expected, [&](int a, int b) { return n_notes[a] > n_notes[b]; });
        if (expected.size() > 12) expected.resize(12);
        std::ranges::sort(expected);
        EXPECT_EQ(found, expected) << "individual " << individual << ", window " << window;
    }
}

// Relatives share everything, and nobody is too close to be selected.
TEST_F(MatchSelector, SelectsIdenticalHaplotypes) {
    std::vector<std::string> alleles = mosaics::haplotypes(40, 500, random);
    alleles[30] = alleles[0];
    alleles[35] = alleles[1];
    const genhap_set set = mosaics::cohort(alleles, 20);
    match_settings settings = usual();
    settings.n_states = 4;
    match_selector selector(set, settings, team);
    const selections selected = select_all(selector);
    EXPECT_TRUE(std::ranges::binary_search(selected.at({0, 0}), 30));
    EXPECT_TRUE(std::ranges::binary_search(selected.at({0, 0}), 35));
}

TEST_F(MatchSelector, WindowsFollowTheStretchesAndHoldTwoHundredVariants) {
    const genhap_set set = mosaics::cohort(mosaics::haplotypes(40, 3000, random), 20);
    const auto mean_window = [&](double jumps_per_cm, double window_bp) {
        match_settings settings = usual();
        settings.learning.jumps_per_cm = jumps_per_cm;
        settings.window_bp = window_bp;
        match_selector selector(set, settings, team);
        random_source unused(1);
        double n_windows = 0.0;
        for (int i = 0; i < 30; ++i) {
            selector.prepare(true, unused);
            const std::vector<int>& borders = selector.borders();
            EXPECT_EQ(borders.front(), 0);
            EXPECT_EQ(borders.back(), 2999);
            EXPECT_TRUE(std::ranges::is_sorted(borders));
            n_windows += static_cast<double>(borders.size() - 1);
        }
        return 3000 * 30 / n_windows;
    };
    EXPECT_NEAR(mean_window(0.25, 0), 500, 20);
    EXPECT_NEAR(mean_window(0.5, 0), 250, 10);
    EXPECT_NEAR(mean_window(50, 0), 200, 8) << "at least 200 variants";
    EXPECT_NEAR(mean_window(1, 300'000), 300, 12) << "as the user says";
    EXPECT_EQ(mean_window(0.001, 0), 3000) << "one window";
}

TEST_F(MatchSelector, EachWindowHasASite) {
    const genhap_set set = mosaics::cohort(mosaics::haplotypes(10, 3000, random), 5, 0.0005);
    match_settings settings = usual();
    settings.learning.step = 0.3;
    settings.window_bp = 100'000;
    match_selector selector(set, settings, team);
    random_source unused(1);
    for (int i = 0; i < 10; ++i) {
        selector.prepare(true, unused);
        const std::vector<int>&sites = selector.sites(), &first = selector.first_sites();
        ASSERT_EQ(first.size(), selector.borders().size());
        EXPECT_EQ(first.back(), static_cast<int>(sites.size()));
        for (std::size_t w = 0; w + 1 < first.size(); ++w) {
            EXPECT_LT(first[w], first[w + 1]);
            EXPECT_GE(sites[first[w]], selector.borders()[w]);
            EXPECT_LE(sites[first[w + 1] - 1], selector.borders()[w + 1]);
        }
    }
}

struct small_case {
    const char* name;
    int n_individuals, n_panel, n_loci;
    double spacing;
    int depth = 4;
};

class small_cohorts : public ::testing::TestWithParam<small_case> {};

TEST_P(small_cohorts, AreSelectedFrom) {
    const support::log_capture silenced;
    const small_case& c = GetParam();
    std::mt19937 random(1);
    std::vector<std::string> alleles;
    for (int h = 0; h < 2 * c.n_individuals + c.n_panel; ++h)
        alleles.push_back(support::random_alleles(c.n_loci, random));
    const genhap_set set = mosaics::cohort(alleles, c.n_individuals, c.spacing);
    worker_team team(1);
    match_settings settings = usual();
    settings.depth = c.depth;
    match_selector selector(set, settings, team);
    const selections selected = select_all(selector);
    EXPECT_GE(static_cast<int>(selected.size()), c.n_individuals);
    const std::size_t n_others = alleles.size() - 2;
    for (const auto& [job, idx] : selected) {
        EXPECT_GE(idx.size(), std::min<std::size_t>(n_others, 8));
        EXPECT_LE(idx.size(), std::min<std::size_t>(n_others, 12));
        EXPECT_EQ(std::ranges::adjacent_find(idx), idx.end()) << "each once";
        for (const int h : idx) EXPECT_NE(h / 2, job.first) << "nobody from their own";
    }
}

INSTANTIATE_TEST_SUITE_P(MatchSelector, small_cohorts,
                         ::testing::Values(small_case{"two_people", 2, 0, 50, 0.01},
                                           small_case{"three_people", 3, 0, 50, 0.01},
                                           small_case{"one_person_and_a_panel", 1, 10, 50, 0.01},
                                           small_case{"one_variant", 9, 0, 1, 0.01},
                                           small_case{"one_variant_and_few_notes", 3, 0, 1, 0.01, 1},
                                           small_case{"two_variants", 9, 0, 2, 0.01},
                                           small_case{"no_genetic_distance", 9, 0, 50, 0.0},
                                           small_case{"far_apart", 9, 0, 50, 20.0}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
