#include "modules/worker_team.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <new>
#include <set>
#include <thread>

#include "support/child_process.h"

namespace {

/// Takes items as long as there are fewer than `n_items`, and notes who took them.
struct pass {
    worker_team& team;
    int n_items;
    std::mutex lock{};
    std::multiset<int> taken{};
    std::vector<int> order{};
    std::multiset<std::thread::id> callers{};
};

void* take_all(void* argument) {
    pass& p = *static_cast<pass*>(argument);
    {
        const std::lock_guard guard(p.lock);
        p.callers.insert(std::this_thread::get_id());
    }
    for (int i = p.team.take(); i < p.n_items; i = p.team.take()) {
        const std::lock_guard guard(p.lock);
        p.taken.insert(i);
        p.order.push_back(i);
    }
    return nullptr;
}

std::multiset<int> numbers(int n) {
    std::multiset<int> all;
    for (int i = 0; i < n; ++i) all.insert(i);
    return all;
}

TEST(WorkerTeam, SharesOutEachItemOnce) {
    for (const int n_threads : {0, 1, 2, 7})
        for (const int n_items : {0, 1, 5, 1000}) {
            worker_team team(n_threads);
            pass p{team, n_items};
            team.run(take_all, &p);
            EXPECT_EQ(p.taken, numbers(n_items)) << n_threads << " threads";
        }
}

TEST(WorkerTeam, OfOneWorksOnTheCallingThreadInOrder) {
    worker_team team(1);
    EXPECT_TRUE(team.is_single());
    pass p{team, 20};
    team.run(take_all, &p);
    EXPECT_EQ(p.callers, std::multiset<std::thread::id>{std::this_thread::get_id()});
    for (int i = 0; i < 20; ++i) EXPECT_EQ(p.order[i], i);
}

TEST(WorkerTeam, OfSeveralStartsThatManyThreads) {
    for (const int n_threads : {2, 7}) {
        worker_team team(n_threads);
        EXPECT_FALSE(team.is_single());
        pass p{team, 3};
        team.run(take_all, &p);
        EXPECT_EQ(p.callers.size(), static_cast<std::size_t>(n_threads))
            << "more threads than items are fine";
        EXPECT_FALSE(p.callers.contains(std::this_thread::get_id()));
    }
}

struct meeting {
    int expected;
    std::atomic<int> arrived = 0;
    std::atomic<int> met = 0;
};

/// Waits until all others are there, for twenty seconds at most.
void* wait_for_all(void* argument) {
    meeting& m = *static_cast<meeting*>(argument);
    ++m.arrived;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (m.arrived < m.expected && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    m.met += m.arrived == m.expected;
    return nullptr;
}

TEST(WorkerTeam, ThreadsRunAtTheSameTime) {
    meeting m{5};
    worker_team team(5);
    team.run(wait_for_all, &m);
    EXPECT_EQ(m.met, 5);
}

TEST(WorkerTeam, NextPassStartsFromTheFirstItem) {
    for (const int n_threads : {1, 3}) {
        worker_team team(n_threads);
        pass first{team, 10}, second{team, 4};
        team.run(take_all, &first);
        team.run(take_all, &second);
        EXPECT_EQ(second.taken, numbers(4));
    }
}

TEST(WorkerTeam, LackOfMemoryInAThreadStopsTheRun) {
    EXPECT_TRUE(support::stops_with("Not enough memory", [] {
        worker_team team(2);
        team.run([](void*) -> void* { throw std::bad_alloc(); }, nullptr);
    }));
}

}  // namespace
