#pragma once

#include <atomic>
#include <vector>

/// Lets the items of a pass, on which threads work at the same time, do a part of their work one after
/// another, in the order of their numbers. Every item, from 0 on, has to take its turn once.
class turn_order {
  public:
    /// For items that `n_threads` threads start in order. So an item that waits is less than n_threads behind
    /// the one whose turn it is, and has a place of its own.
    explicit turn_order(int n_threads) : places(n_threads) {
        for (std::atomic<int>& place : places) place = NOBODY;
        places[0] = 0;
    }

    /// Waits until all items before `item` have taken their turns, and calls `part`.
    template <class Part>
    void take(int item, Part part) {
        const int n = static_cast<int>(places.size());
        std::atomic<int>& place = places[item % n];
        for (int now = place; now != item; now = place) place.wait(now);
        part();
        std::atomic<int>& next = places[(item + 1) % n];
        next = item + 1;
        next.notify_one();
    }

  private:
    static constexpr int NOBODY = -1;

    std::vector<std::atomic<int>> places;  // the item whose turn it is, in its place
};
