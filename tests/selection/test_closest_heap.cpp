#include "selection/closest_heap.h"

#include <gtest/gtest.h>

#include <random>

namespace {

/// The same with std::push_heap and std::pop_heap.
struct library_heap {
    void push(int h, int distance) {
        heap.push_back({h, distance});
        std::push_heap(heap.begin(), heap.end());
    }
    void pop() {
        std::pop_heap(heap.begin(), heap.end());
        heap.pop_back();
    }
    std::vector<haplotype_distance> heap;
};

TEST(ClosestHeap, AgreesWithTheStandardHeap) {
    std::mt19937 random(1);
    for (int trial = 0; trial < 300; ++trial) {
        const int K = static_cast<int>(random() % 40);
        std::vector<haplotype_distance> memory{{7, 7}};
        closest_heap closest(K, memory);
        library_heap library;
        for (int h = 0; h < 300; ++h) {
            const int distance = static_cast<int>(random() % 12);
            closest.push(h, distance);
            library.push(h, distance);
            if (random() % 2 == 0) continue;  // so that several entries may exceed the capacity before trim
            closest.trim();
            while (static_cast<int>(library.heap.size()) > K) library.pop();
            ASSERT_EQ(memory.size(), library.heap.size());
            for (std::size_t i = 0; i < memory.size(); ++i) ASSERT_EQ(memory[i].idx, library.heap[i].idx);
            const bool full = K > 0 && static_cast<int>(memory.size()) == K;
            ASSERT_EQ(closest.limit(), full ? memory[0].dist : DISTANCE_BEYOND_LIMIT);
        }
        std::vector<int> idx, expected;
        int best = 1000;
        for (; !library.heap.empty(); library.pop()) {
            expected.push_back(library.heap[0].idx);
            best = std::min(best, library.heap[0].dist);
        }
        EXPECT_EQ(closest.drain(idx, 1000), best);
        EXPECT_EQ(idx, expected);
        EXPECT_TRUE(memory.empty());
    }
}

TEST(ClosestHeap, HasNoLimitUntilItIsFull) {
    std::vector<haplotype_distance> memory;
    closest_heap closest(2, memory);
    EXPECT_EQ(closest.limit(), DISTANCE_BEYOND_LIMIT);
    closest.push(0, 5);
    EXPECT_EQ(closest.limit(), DISTANCE_BEYOND_LIMIT);
    closest.push(1, 3);
    EXPECT_EQ(closest.limit(), 5);
    std::vector<int> idx;
    EXPECT_EQ(closest.drain(idx, 2), 2) << "a bound that is smaller than all distances";
    EXPECT_EQ(idx, (std::vector<int>{0, 1}));
}

}  // namespace
