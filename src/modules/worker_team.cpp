#include "modules/worker_team.h"

#include <new>
#include <system_error>

#include "utils/lfile.h"
#include "utils/sutils.h"

worker_team::worker_team(int threads) : n_thread(threads) {}

void worker_team::run(void* (*callback)(void*), void* argument) {
    i_worker = 0;
    if (is_single()) {
        callback(argument);
        return;
    }
    const auto body = [callback, argument] {
        try {
            callback(argument);
        } catch (const std::bad_alloc&) {
            LOG.error("Not enough memory");
        }
    };
    try {
        for (int i = 0; i < n_thread; ++i) id_workers.emplace_back(body);
    } catch (const std::system_error& reason) {
        LOG.error("Impossible to start " + sutils::int2str(n_thread) + " threads: " + reason.what());
    }
    for (std::thread& worker : id_workers) worker.join();
    id_workers.clear();
}

int worker_team::take() {
    if (is_single()) return i_worker++;
    const std::lock_guard lock(mutex_workers);
    return i_worker++;
}
