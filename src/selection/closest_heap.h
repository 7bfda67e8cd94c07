#pragma once

#include <algorithm>
#include <vector>

#include "selection/haplotype_distance.h"

/// The closest haplotypes found so far, at most `K` after trim: a heap with the largest distance on top.
///
/// Among equally distant haplotypes, the steps of the heap decide which ones stay. They are those of
/// std::push_heap and std::pop_heap in libstdc++. They are written out here because a selection spends most
/// of its time in them, and a branch at each level of the heap would be mispredicted half of the time.
class closest_heap {
  public:
    closest_heap(int K, std::vector<haplotype_distance>& memory) : capacity(K), heap(memory) { heap.clear(); }

    /// Only a distance below this one can enter a full heap and stay.
    int limit() const {
        const bool full = !heap.empty() && static_cast<int>(heap.size()) >= capacity;
        return full ? heap.front().dist : DISTANCE_BEYOND_LIMIT;
    }
    void push(int h, int distance) {
        heap.emplace_back();
        climb(static_cast<int>(heap.size()) - 1, {h, distance});
    }
    void trim() {
        while (static_cast<int>(heap.size()) > std::max(capacity, 0)) pop();
    }
    /// Empties the heap into `idx`, the largest distance first; returns the smallest, or `best` if smaller.
    int drain(std::vector<int>& idx, int best) {
        while (!heap.empty()) {
            idx.push_back(heap.front().idx);
            best = std::min(best, heap.front().dist);
            pop();
        }
        return best;
    }

  private:
    /// Moves the entry up from the free place `hole`, past nearer parents.
    void climb(int hole, haplotype_distance entry) {
        for (int parent = (hole - 1) / 2; hole > 0 && heap[parent].dist < entry.dist;
             parent = (hole - 1) / 2) {
            heap[hole] = heap[parent];
            hole = parent;
        }
        heap[hole] = entry;
    }
    /// Removes the top. At each level the child with the larger distance moves up, the right one on ties,
    /// down to the bottom; the last entry then climbs from there.
    void pop() {
        const haplotype_distance last = heap.back();
        heap.pop_back();
        if (heap.empty()) return;
        const int n = static_cast<int>(heap.size());
        int hole = 0, right = 2;
        for (; right < n; right = 2 * hole + 2) {
            const int child = right - static_cast<int>(heap[right].dist < heap[right - 1].dist);
            heap[hole] = heap[child];
            hole = child;
        }
        if (right == n) {
            heap[hole] = heap[right - 1];
            hole = right - 1;
        }
        climb(hole, last);
    }

    int capacity;
    std::vector<haplotype_distance>& heap;
};
