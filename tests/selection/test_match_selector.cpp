#include "selection/match_selector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <set>

#include "support/graph_text.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"

namespace {

/// Mean distance of variants in the cohorts of these tests.
constexpr double SPACING = 0.01;  // cM

snp_set variants(int n_loci, double spacing = SPACING) {
    snp_set snps;
    for (int l = 0; l < n_loci; ++l) {
        snps.put(snp(1000 * l, "A", "G"));
        snps.snp_list.back().cm = 3.0 + spacing * l;
    }
    snps.indexing();
    return snps;
}

/// Individuals whose haplotypes are given, two for each, and a panel.
genhap_set cohort(const std::vector<std::string>& alleles, int n_individuals, double spacing = SPACING) {
    std::vector<genotype_graph> graphs;
    const std::size_t n_loci = alleles[0].size();
    for (int i = 0; i < n_individuals; ++i) {
        std::string genotypes;
        for (std::size_t l = 0; l < n_loci; ++l)
            genotypes += static_cast<char>('0' + (alleles[2 * i][l] == '1') + (alleles[2 * i + 1][l] == '1'));
        graphs.push_back(support::built_from(genotypes, "I" + std::to_string(i)));
    }
    std::vector<chaplotype> panel;
    for (std::size_t h = 2 * static_cast<std::size_t>(n_individuals); h < alleles.size(); ++h)
        panel.push_back(support::haplotype(alleles[h]));
    genhap_set set(variants(static_cast<int>(n_loci), spacing), std::move(graphs), std::move(panel));
    for (std::size_t h = 0; h < alleles.size(); ++h) set.vecH[h] = support::haplotype(alleles[h]);
    return set;
}

/// Copies of a few founders that change founder every 40 loci or so.
std::vector<std::string> mosaics(int n, int n_loci, std::mt19937& random) {
    std::vector<std::string> founders, alleles;
    for (int f = 0; f < 10; ++f) founders.push_back(support::random_alleles(n_loci, random));
    for (int h = 0; h < n; ++h) {
        std::string a;
        std::size_t f = 0;
        for (int l = 0; l < n_loci; ++l) {
            if (l == 0 || random() % 40 == 0) f = random() % founders.size();
            a += founders[f][l];
        }
        alleles.push_back(a);
    }
    return alleles;
}

match_settings usual() {
    return {.n_states = 12, .depth = 4, .step = 0.03, .mismatch = 1e-4, .seed = 5};
}

/// The haplotypes selected for each job.
std::vector<std::vector<int>> select_all(match_selector& selector) {
    random_source unused(1);
    selector.prepare(true, unused);
    const auto worker = selector.make_worker();
    std::vector<std::vector<int>> all;
    for (const phasing_job& job : selector.list_jobs(unused)) {
        all.emplace_back();
        worker->measure({&job, 1});
        worker->draw(unused);
        worker->choose(0, all.back());
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
    const genhap_set set = cohort(mosaics(40, 500, random), 20);
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
    const genhap_set set = cohort(mosaics(40, 500, random), 20);
    match_selector alone(set, usual(), team);
    const auto expected = select_all(alone);
    for (const int n : {2, 3, 8}) {
        worker_team several(n);
        match_selector selector(set, usual(), several);
        EXPECT_EQ(select_all(selector), expected);
        EXPECT_EQ(selector.jump_rate(), alone.jump_rate());
    }
}

TEST_F(MatchSelector, ChoosesOtherSitesAndWindowsInEachIterationAndForEachSeed) {
    const genhap_set set = cohort(mosaics(40, 2000, random), 20);
    std::set<std::vector<int>> sites, borders;
    for (const long seed : {1L, 2L, 3L}) {
        match_settings settings = usual();
        settings.seed = seed;
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

TEST_F(MatchSelector, HasOneSiteInEachStretchOfOneStep) {
    const genhap_set set = cohort(mosaics(10, 500, random), 5);
    match_selector selector(set, usual(), team);
    random_source unused(1);
    selector.prepare(true, unused);
    std::map<int, int> n_in_stretch;
    for (const int l : selector.sites())
        ++n_in_stretch[static_cast<int>(std::floor(set.snps.getByIndex(l)->cm / 0.03))];
    std::set<int> stretches;
    for (const snp& variant : set.snps.snp_list)
        stretches.insert(static_cast<int>(std::floor(variant.cm / 0.03)));
    EXPECT_EQ(n_in_stretch.size(), stretches.size()) << "each stretch with a variant has a site";
    for (const auto& [stretch, n] : n_in_stretch) EXPECT_EQ(n, 1);
    EXPECT_TRUE(std::ranges::is_sorted(selector.sites()));
}

TEST_F(MatchSelector, TakesTheHaplotypesNotedMostOften) {
    const std::vector<std::string> alleles = mosaics(60, 600, random);
    const genhap_set set = cohort(alleles, 20);
    match_selector selector(set, usual(), team);
    const auto selected = select_all(selector);
    allele_rows rows;
    rows.copy(set.vecH, 0, 599);
    match_orders from_left, from_right;
    from_left.fill(rows, {0, 599}, selector.sites(), 60, 40);
    from_right.fill(rows, {599, 0}, selector.sites(), 60, 40);
    random_source unused(1);
    const std::vector<phasing_job> jobs = selector.list_jobs(unused);
    ASSERT_EQ(jobs.size(), selected.size());
    for (std::size_t j = 0; j < jobs.size(); ++j) {
        std::map<int, int> n_notes;
        const auto note = [&](int h, int /*locus*/) { ++n_notes[h]; };
        for (int s = 0; s < static_cast<int>(selector.sites().size()); ++s) {
            if (selector.sites()[s] < jobs[j].range.first_locus ||
                selector.sites()[s] > jobs[j].range.last_locus)
                continue;
            for (const int h : haplotypes_of(jobs[j].individual)) {
                from_left.nearest(s, h, 4, note);
                from_right.nearest(s, h, 4, note);
            }
        }
        std::vector<int> expected;
        for (const auto& [h, n] : n_notes) expected.push_back(h);
        std::ranges::stable_sort(expected, [&](int a, int b) { return n_notes[a] > n_notes[b]; });
        if (expected.size() > 12) expected.resize(12);
        std::ranges::sort(expected);
        EXPECT_EQ(selected[j], expected) << "job " << j;
    }
}

// Relatives share everything, and nobody is too close to be selected.
TEST_F(MatchSelector, SelectsIdenticalHaplotypes) {
    std::vector<std::string> alleles = mosaics(40, 500, random);
    alleles[30] = alleles[0];
    alleles[35] = alleles[1];
    const genhap_set set = cohort(alleles, 20);
    match_settings settings = usual();
    settings.n_states = 4;
    match_selector selector(set, settings, team);
    const auto selected = select_all(selector);
    EXPECT_TRUE(std::ranges::binary_search(selected[0], 30));
    EXPECT_TRUE(std::ranges::binary_search(selected[0], 35));
}

TEST_F(MatchSelector, WindowsFollowTheStretchesAndHoldTwoHundredVariants) {
    const genhap_set set = cohort(mosaics(40, 3000, random), 20);
    const auto mean_window = [&](double jumps_per_cm, double window_bp) {
        match_settings settings = usual();
        settings.jumps_per_cm = jumps_per_cm;
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

// Every haplotype copies one other for exactly 100 loci, 1 cM, so the longest matches at a random site reach
// between 0 and 1 cM, until the copy ends.
TEST_F(MatchSelector, MeasuresTheRateOfJumps) {
    constexpr int N_PAIRS = 100, N_LOCI = 2000;
    std::vector<std::string> alleles(2 * N_PAIRS);
    for (int first = 0; first < N_LOCI; first += 100) {
        std::vector<int> order(2 * N_PAIRS);
        for (int h = 0; h < 2 * N_PAIRS; ++h) order[h] = h;
        std::shuffle(order.begin(), order.end(), random);
        for (int p = 0; p < N_PAIRS; ++p) {
            const std::string shared = support::random_alleles(100, random);
            alleles[order[2 * p]] += shared;
            alleles[order[2 * p + 1]] += shared;
        }
    }
    const genhap_set set = cohort(alleles, N_PAIRS);
    match_selector selector(set, usual(), team);
    random_source unused(1);
    selector.prepare(true, unused);
    // The mean length on one side of a site is 0.5 cM. Of 200 haplotypes, one agrees by chance for some
    // further 4 loci, 0.04 cM.
    EXPECT_NEAR(selector.jump_rate(), 1.0 / 0.54, 0.06);
    EXPECT_FLOAT_EQ(selector.rates()->jump[5],
                    static_cast<float>(1.0 - std::exp(-0.01 * selector.jump_rate())));
}

TEST_F(MatchSelector, UsesTheRateThatTheUserGave) {
    const genhap_set set = cohort(mosaics(10, 100, random), 5);
    match_settings settings = usual();
    settings.jumps_per_cm = 7.0;
    match_selector selector(set, settings, team);
    random_source unused(1);
    selector.prepare(true, unused);
    EXPECT_EQ(selector.jump_rate(), 7.0);
}

struct small_case {
    const char* name;
    int n_individuals, n_panel, n_loci;
    double spacing;
};

class small_cohorts : public ::testing::TestWithParam<small_case> {};

TEST_P(small_cohorts, AreSelectedFrom) {
    const support::log_capture silenced;
    const small_case& c = GetParam();
    std::mt19937 random(1);
    std::vector<std::string> alleles;
    for (int h = 0; h < 2 * c.n_individuals + c.n_panel; ++h)
        alleles.push_back(support::random_alleles(c.n_loci, random));
    const genhap_set set = cohort(alleles, c.n_individuals, c.spacing);
    worker_team team(1);
    match_selector selector(set, usual(), team);
    const auto selected = select_all(selector);
    EXPECT_GE(static_cast<int>(selected.size()), c.n_individuals);
    const std::size_t n_others = alleles.size() - 2;
    for (const std::vector<int>& idx : selected) {
        EXPECT_GE(idx.size(), std::min<std::size_t>(n_others, 8));
        EXPECT_LE(idx.size(), std::min<std::size_t>(n_others, 12));
        EXPECT_EQ(std::ranges::adjacent_find(idx), idx.end()) << "each once";
    }
}

INSTANTIATE_TEST_SUITE_P(MatchSelector, small_cohorts,
                         ::testing::Values(small_case{"two_people", 2, 0, 50, 0.01},
                                           small_case{"three_people", 3, 0, 50, 0.01},
                                           small_case{"one_person_and_a_panel", 1, 10, 50, 0.01},
                                           small_case{"one_variant", 9, 0, 1, 0.01},
                                           small_case{"two_variants", 9, 0, 2, 0.01},
                                           small_case{"no_genetic_distance", 9, 0, 50, 0.0},
                                           small_case{"far_apart", 9, 0, 50, 20.0}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
