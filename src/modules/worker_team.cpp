#include "modules/worker_team.h"

#include <algorithm>
#include <atomic>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "utils/lfile.h"

worker_team::worker_team(int n_threads) : n_workers(std::max(n_threads, 1)) {}

void worker_team::run(int n_items, const std::function<void(int item, int worker)>& work) {
    if (is_single()) {
        for (int item = 0; item < n_items; ++item) work(item, 0);
        return;
    }
    std::atomic<int> next_item = 0;
    const auto take_items = [&](int worker) {
        for (int item = next_item++; item < n_items; item = next_item++) work(item, worker);
    };
    std::vector<std::thread> threads;
    // An exception that left this function would destroy running threads, so the run ends here.
    try {
        for (int worker = 0; worker < n_workers; ++worker) threads.emplace_back(take_items, worker);
    } catch (const std::system_error& reason) {
        LOG.error("Impossible to start " + std::to_string(n_workers) + " threads: " + reason.what());
    }
    for (std::thread& thread : threads) thread.join();
}
