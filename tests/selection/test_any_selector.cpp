#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <latch>
#include <memory>
#include <random>
#include <thread>

#include "modules/stages.h"
#include "selection/match_selector.h"
#include "selection/scan_selector.h"
#include "selection/tree_selector.h"
#include "support/graph_text.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"

/// Checks for every selector.
namespace {

constexpr int N_INDIVIDUALS = 150, N_PANEL = 6, N_LOCI = 400, K = 8;

/// Individuals and a panel derived from a few founders, at variants 100 bp apart, with first haplotypes.
genhap_set cohort() {
    std::mt19937 random(3);
    std::vector<std::string> founders;
    for (int f = 0; f < 12; ++f) founders.push_back(support::random_alleles(N_LOCI, random));
    snp_set snps;
    for (int l = 0; l < N_LOCI; ++l) {
        snps.put(snp(100 * l, "A", "G"));
        snps.snp_list.back().cm = 0.01 * l;
    }
    std::vector<genotype_graph> graphs;
    for (int i = 0; i < N_INDIVIDUALS; ++i) {
        const std::string &a = founders[random() % 12], &b = founders[random() % 12];
        std::string genotypes;
        for (int l = 0; l < N_LOCI; ++l)
            genotypes += random() % 50 == 0 ? '.' : static_cast<char>('0' + (a[l] == '1') + (b[l] == '1'));
        graphs.push_back(support::built_from(genotypes, "I" + std::to_string(i)));
    }
    std::vector<chaplotype> panel;
    for (int h = 0; h < N_PANEL; ++h) panel.push_back(support::haplotype(founders[h]));
    genhap_set set(std::move(snps), std::move(graphs), std::move(panel));
    worker_team team(1);
    random_source draws(5);
    sample_haplotypes(set, true, team, draws);
    return set;
}

struct any_form {
    const char* name;
    std::function<std::unique_ptr<conditioning_selector>(const genhap_set&, worker_team&)> make;
};
void PrintTo(const any_form& row, std::ostream* out) {
    *out << row.name;
}

const std::vector<any_form> FORMS_BY_DISTANCE = {
    {"scan",
     [](const genhap_set& set, worker_team&) { return std::make_unique<scan_selector>(set, K, 8000); }},
    {"tree", [](const genhap_set& set,
                worker_team& team) { return std::make_unique<tree_selector>(set, K, 40, 8000.0, team); }},
};
const any_form BY_MATCHES = {
    "match", [](const genhap_set& set, worker_team& team) {
        const match_settings settings{
            .n_states = K, .depth = 4, .window_bp = 8000.0, .learning = {.step = 0.03, .seed = 5}};
        return std::make_unique<match_selector>(set, settings, team);
    }};

/// All three steps of a selection for one job.
int select(conditioning_selector::worker& worker, const phasing_job& job, random_source& random,
           std::vector<int>& idx) {
    worker.measure({&job, 1});
    worker.draw(random);
    return worker.choose(0, idx);
}

class selectors : public ::testing::TestWithParam<any_form> {
  protected:
    support::log_capture silenced;
    genhap_set set = cohort();
    worker_team team{1};
    std::unique_ptr<conditioning_selector> selector = GetParam().make(set, team);
    random_source draws{7};
};

TEST_P(selectors, JobsCoverEveryIndividualInOrder) {
    selector->prepare(true, draws);
    const std::vector<phasing_job> jobs = selector->list_jobs(draws);
    ASSERT_FALSE(jobs.empty());
    int next = 0;
    EXPECT_GT(jobs.size(), 2U * N_INDIVIDUALS) << "several windows for most individuals";
    for (int ind = 0; ind < N_INDIVIDUALS; ++ind) {
        int end_locus = -1, n_windows = 0;
        for (; next < static_cast<int>(jobs.size()) && jobs[next].individual == ind; ++next, ++n_windows) {
            const segment_range& range = jobs[next].range;
            EXPECT_EQ(jobs[next].window, n_windows);
            EXPECT_LE(range.first_locus, end_locus + 1) << "no gap";
            EXPECT_LE(range.first_locus, range.last_locus);
            EXPECT_LE(range.first_segment, range.last_segment);
            end_locus = range.last_locus;
        }
        EXPECT_GT(n_windows, 0);
        EXPECT_EQ(end_locus, N_LOCI - 1) << "up to the last locus";
    }
    EXPECT_EQ(next, static_cast<int>(jobs.size()));
}

TEST_P(selectors, SelectOthersAndThePanel) {
    selector->prepare(true, draws);
    const auto worker = selector->make_worker();
    bool is_panel_selected = false;
    for (const phasing_job& job : selector->list_jobs(draws)) {
        std::vector<int> idx = {-5};
        select(*worker, job, draws, idx);
        EXPECT_EQ(idx.size(), static_cast<std::size_t>(K));
        for (const int h : idx) {
            EXPECT_GE(h, 0);
            EXPECT_LT(h, set.n_haplotypes());
            EXPECT_NE(h / 2, job.individual) << "never the individual's own";
            is_panel_selected |= h >= 2 * N_INDIVIDUALS;
        }
    }
    EXPECT_TRUE(is_panel_selected);
}

TEST_P(selectors, SameDrawsGiveTheSameSelectionInAnyWorker) {
    const auto select_all = [this](bool with_one_worker) {
        const auto fresh = GetParam().make(set, team);
        random_source same(11);
        fresh->prepare(true, same);
        auto worker = fresh->make_worker();
        std::vector<int> all, idx;
        for (const phasing_job& job : fresh->list_jobs(same)) {
            if (!with_one_worker) worker = fresh->make_worker();
            all.push_back(select(*worker, job, same, idx));
            all.insert(all.end(), idx.begin(), idx.end());
        }
        return all;
    };
    EXPECT_EQ(select_all(true), select_all(false));
}

TEST_P(selectors, JobsTogetherAreSelectedAsOneByOne) {
    selector->prepare(true, draws);
    const std::vector<phasing_job> jobs = selector->list_jobs(draws);
    const auto together = selector->make_worker(), alone = selector->make_worker();
    random_source one(3), other(3);
    std::vector<int> idx, expected;
    for (std::size_t first = 0, end = 0; first < jobs.size(); first = end) {
        while (end < jobs.size() && jobs[end].individual == jobs[first].individual) ++end;
        together->measure({jobs.data() + first, end - first});
        together->draw(one);
        for (std::size_t j = first; j < end; ++j) {
            const int distance = select(*alone, jobs[j], other, expected);
            EXPECT_EQ(together->choose(static_cast<int>(j - first), idx), distance);
            EXPECT_EQ(idx, expected);
        }
    }
    EXPECT_EQ(one.draw(), other.draw());
}

TEST_P(selectors, MeasuringAgainReplacesTheMeasurement) {
    selector->prepare(true, draws);
    const std::vector<phasing_job> jobs = selector->list_jobs(draws);
    const auto first = selector->make_worker(), second = selector->make_worker();
    std::vector<int> once, again;
    random_source one(3), other(3);
    select(*first, jobs[0], one, once);
    second->measure({jobs.data() + 1, 2});
    select(*second, jobs[0], other, again);
    EXPECT_EQ(again, once);
}

TEST_P(selectors, WorkersKeepTheirMeasurements) {
    selector->prepare(true, draws);
    const std::vector<phasing_job> jobs = selector->list_jobs(draws);
    const auto first = selector->make_worker(), second = selector->make_worker();
    std::vector<int> alone, beside;
    random_source one(3), other(3);
    select(*first, jobs[0], one, alone);
    first->measure({jobs.data(), 1});
    second->measure({&jobs.back(), 1});
    first->draw(other);
    first->choose(0, beside);
    EXPECT_EQ(beside, alone);
}

// Both threads select for all individuals at the same time, each with its own worker and its own draws, so
// each has to get what it gets alone. Memory that the workers share would mix their selections.
TEST_P(selectors, WorkersOfTwoThreadsAreIndependent) {
    constexpr int N_THREADS = 2, N_ROUNDS = 15;
    selector->prepare(true, draws);
    const std::vector<phasing_job> jobs = selector->list_jobs(draws);
    const auto select_all = [&](conditioning_selector::worker& worker, bool backwards) {
        random_source own(11);
        std::vector<int> all, idx;
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            const phasing_job& job = jobs[backwards ? jobs.size() - 1 - i : i];
            all.push_back(select(worker, job, own, idx));
            all.insert(all.end(), idx.begin(), idx.end());
        }
        return all;
    };
    std::latch start(N_THREADS);
    std::array<int, N_THREADS> n_same{};
    std::vector<std::thread> threads;
    for (int t = 0; t < N_THREADS; ++t)
        threads.emplace_back([&, t, alone = select_all(*selector->make_worker(), t == 1)] {
            const auto worker = selector->make_worker();
            start.arrive_and_wait();
            for (int round = 0; round < N_ROUNDS; ++round) n_same[t] += select_all(*worker, t == 1) == alone;
        });
    for (std::thread& thread : threads) thread.join();
    for (int t = 0; t < N_THREADS; ++t) EXPECT_EQ(n_same[t], N_ROUNDS) << "thread " << t;
}

class selectors_by_distance : public selectors {};

TEST_P(selectors_by_distance, UseTheHaplotypesAsOfPrepare) {
    selector->prepare(true, draws);
    const phasing_job job = selector->list_jobs(draws)[0];
    const auto worker = selector->make_worker();
    std::vector<int> idx;
    const int before = select(*worker, job, draws, idx);
    EXPECT_GT(before, 0);
    // All others become equal to the individual's first haplotype, which counts from the next prepare on.
    for (int h = 2; h < set.n_haplotypes(); ++h) set.vecH[h] = set.vecH[0];
    EXPECT_GT(select(*worker, job, draws, idx), 0);
    selector->prepare(false, draws);
    EXPECT_EQ(select(*worker, job, draws, idx), 0) << "the nearest haplotype is equal";
}

std::string name_of(const testing::TestParamInfo<any_form>& form) {
    return form.param.name;
}

INSTANTIATE_TEST_SUITE_P(ByDistance, selectors, ::testing::ValuesIn(FORMS_BY_DISTANCE), name_of);
INSTANTIATE_TEST_SUITE_P(ByMatches, selectors, ::testing::Values(BY_MATCHES), name_of);
INSTANTIATE_TEST_SUITE_P(Selection, selectors_by_distance, ::testing::ValuesIn(FORMS_BY_DISTANCE), name_of);

}  // namespace
