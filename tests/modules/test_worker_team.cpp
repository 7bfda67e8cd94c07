#include "modules/worker_team.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>
#include <set>
#include <thread>
#include <vector>

#include "support/child_process.h"
#include "support/wait_until.h"
#include "utils/lfile.h"

namespace {

/// A record of a pass.
struct record {
    void note(int item, int worker) {
        const std::lock_guard guard(lock);
        items.push_back(item);
        workers.insert(worker);
        threads.insert(std::this_thread::get_id());
    }
    std::mutex lock;
    std::vector<int> items;  // in the order of their calls
    std::set<int> workers;
    std::set<std::thread::id> threads;
};

std::multiset<int> numbers(int n) {
    std::multiset<int> all;
    for (int i = 0; i < n; ++i) all.insert(i);
    return all;
}

TEST(WorkerTeam, RunsEachItemOnce) {
    for (const int n_threads : {0, 1, 2, 7})
        for (const int n_items : {0, 1, 5, 1000}) {
            worker_team team(n_threads);
            record r;
            team.run(n_items, [&](int item, int worker) { r.note(item, worker); });
            EXPECT_EQ(std::multiset<int>(r.items.begin(), r.items.end()), numbers(n_items))
                << n_threads << " threads";
            for (const int worker : r.workers) {
                EXPECT_GE(worker, 0);
                EXPECT_LT(worker, team.size());
            }
        }
}

TEST(WorkerTeam, OneThreadRunsOnTheCallerInOrder) {
    for (const int n_threads : {-3, 0, 1}) {
        worker_team team(n_threads);
        EXPECT_TRUE(team.is_single());
        EXPECT_EQ(team.size(), 1);
        record r;
        team.run(20, [&](int item, int worker) { r.note(item, worker); });
        EXPECT_EQ(r.threads, std::set<std::thread::id>{std::this_thread::get_id()});
        for (int i = 0; i < 20; ++i) EXPECT_EQ(r.items[i], i);
    }
}

TEST(WorkerTeam, TheCallerIsOneOfTheThreads) {
    worker_team team(3);
    EXPECT_FALSE(team.is_single());
    EXPECT_EQ(team.size(), 3);
    std::atomic<int> n_started = 0;
    record r;
    // Each thread waits until all have an item.
    team.run(3, [&](int item, int worker) {
        ++n_started;
        support::wait_until([&] { return n_started == 3; });
        r.note(item, worker);
    });
    EXPECT_EQ(r.threads.size(), 3U);
    EXPECT_TRUE(r.threads.contains(std::this_thread::get_id()));
}

TEST(WorkerTeam, ASingleItemRunsOnTheCaller) {
    worker_team team(3);
    record r;
    team.run(1, [&](int item, int worker) { r.note(item, worker); });
    EXPECT_EQ(r.threads, (std::set<std::thread::id>{std::this_thread::get_id()}));
}

TEST(WorkerTeam, ThreadsServeOnePassAfterAnother) {
    worker_team team(4);
    std::set<std::thread::id> all;
    for (int pass = 0; pass < 500; ++pass) {
        record r;
        team.run(1 + pass % 9, [&](int item, int worker) { r.note(item, worker); });
        EXPECT_EQ(std::multiset<int>(r.items.begin(), r.items.end()), numbers(1 + pass % 9));
        all.insert(r.threads.begin(), r.threads.end());
    }
    EXPECT_LE(all.size(), 4U) << "no pass starts new threads";
}

TEST(WorkerTeam, EachWorkerNumberIsOneThread) {
    worker_team team(4);
    std::mutex lock;
    std::vector<std::set<std::thread::id>> threads(4);
    team.run(200, [&](int, int worker) {
        const std::lock_guard guard(lock);
        threads[worker].insert(std::this_thread::get_id());
    });
    for (const auto& of_worker : threads) EXPECT_LE(of_worker.size(), 1U);
}

TEST(WorkerTeam, ThreadsRunConcurrently) {
    constexpr int N = 5;
    std::atomic<int> arrived = 0, met = 0;
    std::array<std::atomic<int>, N> n_items{};
    worker_team team(N);
    // Each worker waits until all others have started, so each gets one item.
    team.run(N, [&](int, int worker) {
        ++arrived;
        ++n_items[worker];
        met += support::wait_until([&] { return arrived == N; });
    });
    EXPECT_EQ(met, N);
    for (const auto& n : n_items) EXPECT_EQ(n, 1) << "each thread has a number of its own";
}

// Two threads that start together and take many items with hardly any work. Without synchronisation they
// would take some of them twice.
TEST(WorkerTeam, ThreadsThatCompeteForItemsTakeEachOnce) {
    constexpr long N = 300000;
    constexpr int N_THREADS = 2, N_PASSES = 15;
    struct alignas(64) items_of {
        long count = 0, sum = 0;
    };
    worker_team team(N_THREADS);
    for (int pass = 0; pass < N_PASSES; ++pass) {
        std::array<items_of, N_THREADS> taken;
        std::atomic<int> started = 0;
        team.run(N, [&](int item, int worker) {
            if (taken[worker].count == 0) {
                ++started;
                support::wait_until([&] { return started == N_THREADS; });
            }
            ++taken[worker].count;
            taken[worker].sum += item;
        });
        ASSERT_EQ(taken[0].count + taken[1].count, N);
        ASSERT_EQ(taken[0].sum + taken[1].sum, N * (N - 1) / 2);
    }
}

TEST(WorkerTeam, NextPassStartsFromTheFirstItem) {
    for (const int n_threads : {1, 3}) {
        worker_team team(n_threads);
        record first, second;
        team.run(10, [&](int item, int worker) { first.note(item, worker); });
        team.run(4, [&](int item, int worker) { second.note(item, worker); });
        EXPECT_EQ(std::multiset<int>(second.items.begin(), second.items.end()), numbers(4));
    }
}

TEST(WorkerTeam, OutOfMemoryInAThreadStopsTheRun) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizers' allocators end the process themselves";
#endif
    EXPECT_TRUE(support::stops_with("Not enough memory", [] {
        std::set_new_handler([] { LOG.outOfMemory(); });  // as in main
        worker_team team(2);
        team.run(2, [](int, int) { ::operator delete(::operator new(PTRDIFF_MAX)); });
    }));
}

}  // namespace
