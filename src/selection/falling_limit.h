#pragma once

#include <algorithm>
#include <numeric>
#include <vector>

#include "objects/chaplotype.h"

/// The K-th smallest of the distances seen so far: the limit below which a distance enters a closest_heap of
/// capacity K. Counts distances instead of keeping a heap, since only the limit is asked for.
class falling_limit {
  public:
    /// Starts again, for distances from 0 to `largest`. With K below 1 the limit never falls.
    void restart(int K, int largest) {
        capacity = K;
        n = 0;
        top = 0;
        counts.assign(largest + 1, 0);
    }
    int limit() const { return n > 0 && n >= capacity ? top : DISTANCE_BEYOND_LIMIT; }
    /// Number of distances seen that are at most `distance`, which must be below the limit.
    int n_up_to(int distance) const {
        return std::accumulate(counts.begin(), counts.begin() + distance + 1, 0);
    }
    void add(int distance) {
        if (capacity < 1 || distance >= limit()) return;
        ++counts[distance];
        if (n < capacity) {
            ++n;
            top = std::max(top, distance);
            return;
        }
        --counts[top];
        while (counts[top] == 0) --top;
    }

  private:
    int capacity = 0;
    int n = 0;                // distances counted, at most `capacity`
    int top = 0;              // the largest of them
    std::vector<int> counts;  // by distance
};
