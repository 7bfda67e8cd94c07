#pragma once

#include <atomic>
#include <vector>

#include "modules/worker_team.h"
#include "utils/stopwatch.h"

/// Lets the items of a pass, on which threads work at the same time, do a part of their work one after
/// another, in the order of their numbers. Every item, from 0 on, has to take its turn once.
class turn_order {
  public:
    /// For one pass of a team. The team starts its items in order, so an item that waits is less than
    /// team.size() behind the one whose turn it is, and has a place of its own.
    explicit turn_order(worker_team& threads) : team(threads), places(threads.size()) {
        for (std::atomic<int>& place : places) place = NOBODY;
        places[0] = 0;
    }
    ~turn_order() { team.seconds.in_turns += seconds; }
    turn_order(const turn_order&) = delete;
    turn_order& operator=(const turn_order&) = delete;

    /// Waits until all items before `item` have taken their turns, and calls `part`.
    template <class Part>
    void take(int item, Part part) {
        const int n = static_cast<int>(places.size());
        std::atomic<int>& place = places[item % n];
        for (int now = place; now != item; now = place) place.wait(now);
        stopwatch watch;
        part();
        seconds += watch.lap();
        std::atomic<int>& next = places[(item + 1) % n];
        next = item + 1;
        next.notify_one();
    }

  private:
    static constexpr int NOBODY = -1;

    worker_team& team;
    std::vector<std::atomic<int>> places;  // the item whose turn it is, in its place
    double seconds = 0.0;                  // in turns
};
