#include "modules/pass.h"

#include <mutex>

#include "utils/lfile.h"

void run_pass(worker_team& team, const pass_texts& texts, int n_items, const std::function<void(int)>& work) {
    const auto show_progress = [&](int count) {
        LOG.printC("\r" + texts.progress + " [" + std::to_string(count) + "/" + std::to_string(n_items) +
                   "]");
    };
    std::mutex showing;
    LOG.println("");
    LOG.printlnL(texts.heading);
    team.run(n_items, [&](int item, int /*worker*/) {
        if (team.is_single()) {
            work(item);
            show_progress(item + 1);
        } else {
            {
                const std::lock_guard lock(showing);
                show_progress(item + 1);
            }
            work(item);
        }
    });
    show_progress(n_items);
    LOG.println("");
}
