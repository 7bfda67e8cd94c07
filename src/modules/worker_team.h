#pragma once

#include <functional>

/// The threads of a run. They take the items of a pass one by one, since items differ widely in cost.
class worker_team {
  public:
    /// With fewer than two threads, passes run on the calling thread and no thread is started.
    explicit worker_team(int n_threads);
    worker_team(const worker_team&) = delete;
    worker_team& operator=(const worker_team&) = delete;

    /// Number of threads, at least 1.
    int size() const { return n_workers; }
    bool is_single() const { return n_workers == 1; }

    /// Runs a pass: calls work(item, worker) once for each item from 0 to `n_items` - 1, started in this
    /// order. `worker` is the number of the thread, from 0 to size() - 1. Returns when all items are done.
    /// Ends the run if memory or threads run out.
    void run(int n_items, const std::function<void(int item, int worker)>& work);

  private:
    int n_workers;
};
