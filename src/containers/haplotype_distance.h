#pragma once

#include <atomic>

/// A haplotype and its distance, for a heap with the largest distance on top.
struct haplotype_distance {
    int idx = -1;           // index in genhap_set::vecH
    int dist = 1000000000;  // Hamming distance, this large while unset

    /// Selects the order: by rising distance when true, by falling distance when false. Selections running
    /// in several threads all store true.
    static inline std::atomic<bool> minimise = true;

    friend bool operator<(const haplotype_distance& a, const haplotype_distance& b) {
        return minimise.load(std::memory_order_relaxed) ? a.dist < b.dist : a.dist > b.dist;
    }
};
