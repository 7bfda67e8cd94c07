#pragma once

#include "objects/chaplotype.h"

/// A haplotype and its Hamming distance, for a heap with the largest distance on top.
struct haplotype_distance {
    int idx = -1;  // index in genhap_set::vecH
    int dist = DISTANCE_BEYOND_LIMIT;

    friend bool operator<(const haplotype_distance& a, const haplotype_distance& b) {
        return a.dist < b.dist;
    }
};
