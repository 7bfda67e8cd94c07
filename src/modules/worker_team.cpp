#include "modules/worker_team.h"

#include <algorithm>
#include <string>
#include <system_error>

#include "utils/lfile.h"
#include "utils/stopwatch.h"

worker_team::worker_team(int n_threads) : n_workers(std::max(n_threads, 1)) {}

worker_team::~worker_team() {
    {
        const std::lock_guard lock(guard);
        is_ending = true;
    }
    pass_opens.notify_all();
    for (std::thread& thread : threads) thread.join();
}

void worker_team::start_threads() {
    // An exception that left this function would destroy running threads, so the run ends here.
    try {
        while (static_cast<int>(threads.size()) + 1 < n_workers) {
            const int worker = static_cast<int>(threads.size()) + 1;
            threads.emplace_back([this, worker] { wait_for_passes(worker); });
        }
    } catch (const std::system_error& reason) {
        LOG.error("Impossible to start " + std::to_string(n_workers) + " threads: " + reason.what());
    }
}

void worker_team::run(int n_items, const std::function<void(int item, int worker)>& work) {
    if (n_items < 2) {
        if (n_items == 1) work(0, 0);
        return;
    }
    stopwatch watch;
    run_items(n_items, work);
    seconds.in_passes += watch.lap();
}

void worker_team::run_items(int n_items, const std::function<void(int item, int worker)>& work) {
    if (is_single()) {
        for (int item = 0; item < n_items; ++item) work(item, 0);
        return;
    }
    start_threads();
    {
        const std::lock_guard lock(guard);
        pass_work = &work;
        n_pass_items = n_items;
        next_item = 0;
        ++n_passes;
        is_open = true;
    }
    const int n_needed = std::min(n_items, n_workers) - 1;
    if (n_needed == n_workers - 1)
        pass_opens.notify_all();
    else
        for (int i = 0; i < n_needed; ++i) pass_opens.notify_one();
    take_items(0);
    std::unique_lock lock(guard);
    is_open = false;
    threads_leave.wait(lock, [this] { return n_inside == 0; });
}

void worker_team::wait_for_passes(int worker) {
    long last_pass = 0;
    std::unique_lock lock(guard);
    for (;;) {
        pass_opens.wait(lock, [&] { return is_ending || (is_open && n_passes != last_pass); });
        if (is_ending) return;
        last_pass = n_passes;
        ++n_inside;
        lock.unlock();
        take_items(worker);
        lock.lock();
        if (--n_inside == 0) threads_leave.notify_one();
    }
}

void worker_team::take_items(int worker) {
    for (int item = next_item++; item < n_pass_items; item = next_item++) (*pass_work)(item, worker);
}
