#include "modules/stage.h"

#include <utility>

#include "utils/lfile.h"
#include "utils/sutils.h"

stage::stage(int n_thread, std::string progress_text, bool is_verbose)
    : team(n_thread), progress(std::move(progress_text)), verbose(is_verbose) {}

void stage::run_pass(const std::string& start_line, int n, std::function<void(int)> item_work,
                     void* (*callback)(void*), void* self) {
    n_items = n;
    work = std::move(item_work);
    if (verbose) {
        LOG.println("");
        LOG.printlnL(start_line);
    }
    team.run(callback, self);
    print_progress(n_items);
    if (verbose) LOG.println("");
}

void stage::take_items() {
    for (int i = team.take(); i < n_items; i = team.take()) {
        if (team.is_single()) {
            work(i);
            print_progress(i + 1);
        } else {
            {
                const std::lock_guard lock(mutex_progress);
                print_progress(i + 1);
            }
            work(i);
        }
    }
}

void stage::print_progress(int done) const {
    if (verbose)
        LOG.printC("\r" + progress + " [" + sutils::int2str(done) + "/" + sutils::int2str(n_items) + "]");
}
