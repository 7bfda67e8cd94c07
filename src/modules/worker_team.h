#pragma once

#include <functional>

/// The threads of a run. They take the items of a pass one by one, since items take very different times.
class worker_team {
  public:
    /// Fewer than two threads: passes run on the calling thread, and no thread is started.
    explicit worker_team(int n_threads);
    worker_team(const worker_team&) = delete;
    worker_team& operator=(const worker_team&) = delete;

    /// Number of threads that work at a time, at least 1.
    int size() const { return n_workers; }
    bool is_single() const { return n_workers == 1; }

    /// A pass: calls work(item, worker) once for each item from 0 to `n_items` - 1, in this order, `worker`
    /// being the number of the thread, from 0 to size() - 1. Returns when all are done. Lack of memory or of
    /// threads ends the run.
    void run(int n_items, const std::function<void(int item, int worker)>& work);

  private:
    int n_workers;
};
