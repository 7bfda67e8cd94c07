#pragma once

#include <mutex>
#include <thread>
#include <vector>

/// A fixed number of threads that share out the items 0, 1, 2, ... of a pass one by one: items take very
/// different times, and one lock an item costs nothing beside the work.
class worker_team {
  public:
    explicit worker_team(int n_thread);
    worker_team(const worker_team&) = delete;
    worker_team& operator=(const worker_team&) = delete;

    /// With fewer than two threads a pass runs on the calling thread, and no thread is started.
    bool is_single() const { return n_thread < 2; }

    /// A pass: runs `callback(argument)` in each thread, until all have returned.
    void run(void* (*callback)(void*), void* argument);
    /// The next item of the pass, from 0.
    int take();

  private:
    int i_worker = 0;  // next item to hand out
    int n_thread;
    std::mutex mutex_workers;  // guards i_worker
    std::vector<std::thread> id_workers;
};
