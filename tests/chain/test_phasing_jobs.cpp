#include "chain/phasing_jobs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <map>
#include <mutex>
#include <numeric>
#include <set>
#include <thread>

#include "fixed_selector.h"
#include "modules/stages.h"
#include "support/child_process.h"
#include "support/graph_text.h"
#include "support/population.h"
#include "support/wait_until.h"

namespace {

using support::population;

/// A population, and all that the jobs need.
struct jobs_of {
    explicit jobs_of(int n_threads, int n = 6) : p(n), selector(p.set), team(n_threads) {
        for (int l = 0; l < p.set.snps.size(); ++l) p.set.snps.getByIndex(l)->cm = 0.01 * l;
        hmm.initialise(p.set.snps, 15000);
        hmm.update(p.set.n_haplotypes(), p.set.n_haplotypes());
        jobs = std::make_unique<phasing_jobs>(p.set, hmm, selector, team, draws);
    }
    population p;
    hmm_parameters hmm;
    fixed_selector selector;
    worker_team team;
    random_source draws{1};
    std::unique_ptr<phasing_jobs> jobs;
};

TEST(PhasingJobs, RunTheModelOnEachWindowInOrder) {
    jobs_of expected(1);
    segment_buffers buffers;
    const auto jobs = expected.selector.list_jobs(expected.draws);
    for (const phasing_job& job : jobs) {
        std::vector<int> others;
        for (int h = 0; h < 12; ++h)
            if (h / 2 != job.individual) others.push_back(h);
        haplotype_segment(expected.p.set.vecH, others, job.range, buffers)
            .expectation(expected.hmm, &expected.p.set.vecG[job.individual]);
    }
    const std::string before = jobs_of(1).p.state();
    for (const int n_threads : {1, 2, 7}) {
        jobs_of j(n_threads);
        EXPECT_EQ(j.jobs->run(true, false), 0);
        EXPECT_EQ(j.p.state(), expected.p.state()) << n_threads << " threads";
        EXPECT_NE(j.p.state(), before);
        EXPECT_EQ(j.selector.n_chosen, static_cast<int>(jobs.size()));
    }
}

// The selector returns the haplotypes in descending order. The order changes the sums in their last bits,
// which a probability of type float hides unless it is at the border of two floats. So the test first looks
// for a mismatch probability for which the order shows.
TEST(PhasingJobs, TheModelTakesHaplotypesInAscendingOrder) {
    jobs_of j(1, 10);
    sample_haplotypes(j.p.set, true, j.team, j.draws);
    const std::vector<phasing_job> jobs = j.selector.list_jobs(j.draws);
    std::vector<int> ascending(18);
    std::iota(ascending.begin(), ascending.end(), 2);
    const std::vector<int> descending(ascending.rbegin(), ascending.rend());
    segment_buffers buffers;
    const auto probabilities = [&](const std::vector<int>& order) {
        genotype_graph graph = j.p.set.vecG[0];
        for (const phasing_job& job : {jobs[0], jobs[1]})
            haplotype_segment(j.p.set.vecH, order, job.range, buffers).expectation(j.hmm, &graph);
        return graph.trans_prob;
    };

    double& mismatch = j.hmm.em_mismatch;
    double low = 0.01, high = 0.02;  // the first probability changes between these
    mismatch = low;
    const float before = probabilities(ascending)[0];
    while (std::nextafter(low, high) < high) {
        mismatch = low + (high - low) / 2;
        (probabilities(ascending)[0] == before ? low : high) = mismatch;
    }
    for (int i = 0; i < 20; ++i) mismatch = std::nextafter(mismatch, 0.0);
    for (int i = 0; probabilities(ascending) == probabilities(descending); ++i) {
        ASSERT_LT(i, 40) << "no mismatch probability for which the order shows";
        mismatch = std::nextafter(mismatch, 1.0);
    }
    j.jobs->run(true, false);
    EXPECT_EQ(j.p.set.vecG[0].trans_prob, probabilities(ascending));
}

TEST(PhasingJobs, EachThreadHasItsWorkerAndEachIndividualItsThread) {
    constexpr int N_THREADS = 2;
    jobs_of j(N_THREADS);
    using thread_set = std::set<std::thread::id>;
    thread_set threads;
    std::map<const void*, thread_set> threads_of_worker;
    std::map<int, thread_set> threads_of_individual;
    std::mutex lock;
    std::atomic<int> n_threads = 0;
    // Each thread waits in its first job until the other one has started too.
    j.selector.observe = [&](const void* worker, const phasing_job& job) {
        const auto self = std::this_thread::get_id();
        {
            const std::lock_guard guard(lock);
            threads.insert(self);
            threads_of_worker[worker].insert(self);
            threads_of_individual[job.individual].insert(self);
            n_threads = static_cast<int>(threads.size());
        }
        support::wait_until([&] { return n_threads == N_THREADS; });
    };
    j.jobs->run(true, false);
    EXPECT_EQ(n_threads, N_THREADS);
    EXPECT_EQ(threads_of_worker.size(), static_cast<std::size_t>(N_THREADS));
    for (const auto& [worker, of_worker] : threads_of_worker) EXPECT_EQ(of_worker.size(), 1U);
    for (const auto& [ind, of_individual] : threads_of_individual)
        EXPECT_EQ(of_individual.size(), 1U) << "jobs of individual " << ind;
}

// Iterations long enough that the threads work side by side. Memory that they share would mix their results.
TEST(PhasingJobs, ThreadsThatWorkSideBySideGiveTheSameGraphs) {
    jobs_of alone(1, 40);
    alone.jobs->run(true, false);
    const std::string expected = alone.p.state();
    jobs_of j(2, 40);
    for (int iteration = 0; iteration < 10; ++iteration) {
        j.jobs->run(true, false);
        ASSERT_TRUE(j.p.state() == expected) << "iteration " << iteration;
    }
}

TEST(PhasingJobs, IndividualsDrawInOrder) {
    for (const int n_threads : {1, 2, 7}) {
        jobs_of j(n_threads, 40);
        j.jobs->run(true, false);
        random_source same(1);
        ASSERT_EQ(j.selector.draws.size(), 40U);
        for (int ind = 0; ind < 40; ++ind)
            EXPECT_EQ(j.selector.draws[ind], std::pair(ind, same.draw())) << n_threads << " threads";
    }
}

TEST(PhasingJobs, PassTheRenewalToTheSelector) {
    jobs_of j(1);
    for (const bool renew : {true, false, true}) j.jobs->run(renew, false);
    EXPECT_EQ(j.selector.renewals, (std::vector<bool>{true, false, true}));
}

TEST(PhasingJobs, SkipTheModelOnAPerfectMatch) {
    for (const int distance : {0, 1})
        for (const bool skip : {false, true}) {
            jobs_of j(1);
            j.selector.distance = distance;
            const std::string before = j.p.state();
            j.jobs->run(true, skip);
            EXPECT_EQ(j.p.state() == before, skip && distance == 0) << distance;
        }
}

TEST(PhasingJobs, SumUpTheirCosts) {
    jobs_of j(2);
    j.jobs->run(true, false);
    const job_cost once = j.jobs->cost();
    EXPECT_GT(once.model_seconds, 0.0);
    const auto rows = [](const job_cost& cost) {
        long n = 0;
        for (const long r : cost.model.rows) n += r;
        return n;
    };
    EXPECT_GT(rows(once), 0);
    j.jobs->run(true, false);
    EXPECT_EQ(rows(j.jobs->cost()), 2 * rows(once));
}

TEST(PhasingJobs, TooFewConditioningHaplotypesAbort) {
    EXPECT_TRUE(support::aborts_on("idxH.size()>4", [] {
        jobs_of j(1);
        j.selector.n_selected = 4;
        j.jobs->run(true, false);
    }));
    jobs_of j(1);
    j.selector.n_selected = 5;
    j.jobs->run(true, false);
}

TEST(PhasingJobs, FailureOfTheModelStopsTheRun) {
    // With several threads any individual may fail first.
    for (const auto& [n_threads, message] : {std::pair(1, "Nan in expectation haploid / i=I0 b="),
                                             std::pair(3, "Nan in expectation haploid / i=I")})
        EXPECT_TRUE(support::stops_naming({message}, [n = n_threads] {
            jobs_of j(n);
            std::fill(j.hmm.nt.begin(), j.hmm.nt.end(), std::nan(""));
            j.jobs->run(true, false);
        }));
}

TEST(PhasingJobs, UnderflowsAreCountedPerIteration) {
    // All other haplotypes are 00, and the middle group requires a 1 on both sides: its products underflow.
    const char* const odd = R"(
        >0 >1
        [0 1]
        1>1 1>1 | 1>0 1>1 | 1>1 1>0
        [0 1]
        0> 1>
    )";
    std::vector<genotype_graph> graphs(4, support::graph_from(odd));
    snp_set snps;
    for (const int position : {100, 200}) snps.put(snp(position, "A", "G"));
    genhap_set set(std::move(snps), std::move(graphs));
    hmm_parameters hmm;
    hmm.update(8, 6);
    hmm.t = {0.0};
    hmm.nt = {1.0};
    hmm.tn = {0.0};
    hmm.em_mismatch = 1e-200;
    hmm.em_mismatch_n = 1e-200 / 6;
    fixed_selector selector(set);
    for (const int n_threads : {1, 3}) {
        worker_team team(n_threads);
        random_source draws(1);
        phasing_jobs jobs(set, hmm, selector, team, draws);
        for (int iteration = 0; iteration < 3; ++iteration)
            EXPECT_EQ(jobs.run(true, false), 8) << "one in each of two windows for four individuals";
    }
}

}  // namespace
