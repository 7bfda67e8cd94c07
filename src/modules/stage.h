#pragma once

#include <functional>
#include <mutex>
#include <string>

#include "modules/worker_team.h"

/// What all stages share: one pass over individuals (or windows) by a team of workers, a progress line, and
/// the join. A stage is a small object built for one pass; stages never overlap.
class stage {
  public:
    /// Body of a worker: takes items until none is left. In a thread the progress line comes before an item's
    /// work, so it shows what has been started; without threads it shows what has been done.
    void take_items();

  protected:
    /// `progress` is the name in the progress line, as in "\rPruning graphs [3/10]".
    stage(int n_thread, std::string progress, bool verbose = true);

    /// Runs the pass: `start_line` for the log, then work(i) once for each i in [0, n_items), by threads
    /// that run `callback(self)`, or in order on the calling thread.
    void run_pass(const std::string& start_line, int n_items, std::function<void(int)> work,
                  void* (*callback)(void*), void* self);

  private:
    void print_progress(int done) const;

    worker_team team;
    std::string progress;
    bool verbose;
    int n_items = 0;
    std::function<void(int)> work;
    std::mutex mutex_progress;  // guards the progress line
};
