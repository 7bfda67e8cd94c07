#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

/// Where the time of a team of one thread goes, for benchmarks. What is in passes, but not in turns, can be
/// done by any number of threads at the same time.
struct team_seconds {
    double in_passes = 0.0;  // of two items or more
    double in_turns = 0.0;   // of those, the parts that turn_order puts in order
};

/// The threads of a run. They take the items of a pass one by one, since items differ widely in cost. The
/// calling thread is one of them; the others are started by the first pass that needs them and then wait for
/// the next one, so that a pass can be short.
class worker_team {
  public:
    /// With fewer than two threads, passes run on the calling thread and no thread is started.
    explicit worker_team(int n_threads);
    ~worker_team();
    worker_team(const worker_team&) = delete;
    worker_team& operator=(const worker_team&) = delete;

    /// Number of threads, at least 1.
    int size() const { return n_workers; }
    bool is_single() const { return n_workers == 1; }

    /// Runs a pass: calls work(item, worker) once for each item from 0 to `n_items` - 1, started in this
    /// order; a single item is run on the calling thread. `worker` is the number of the thread, from 0 to
    /// size() - 1. Returns when all items are done. Ends the run if threads run out. Passes must not overlap.
    void run(int n_items, const std::function<void(int item, int worker)>& work);

    team_seconds seconds;

  private:
    void run_items(int n_items, const std::function<void(int item, int worker)>& work);
    void start_threads();
    void wait_for_passes(int worker);
    void take_items(int worker);

    int n_workers;
    std::vector<std::thread> threads;  // all but the calling one

    // The current pass. A thread that wakes up too late finds it closed and waits for the next one.
    const std::function<void(int, int)>* pass_work = nullptr;
    int n_pass_items = 0;
    std::atomic<int> next_item = 0;

    std::mutex guard;  // of all below
    std::condition_variable pass_opens, threads_leave;
    long n_passes = 0;
    bool is_open = false;  // whether threads may enter the pass
    bool is_ending = false;
    int n_inside = 0;  // threads in the pass, without the calling one
};
