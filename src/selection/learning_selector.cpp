#include "selection/learning_selector.h"

#include <utility>

#include "utils/lfile.h"

learning_selector::learning_selector(std::unique_ptr<conditioning_selector> other, const genhap_set& set,
                                     const learning_settings& settings, worker_team& team)
    : selector(std::move(other)), learner(set, settings, team) {}

void learning_selector::prepare(bool renew, random_source& random) {
    learner.start_iteration();
    const int n = static_cast<int>(learner.sites().size()), most = learner.most_sites();
    std::vector<int> starts;
    for (int s = 0; s < n; s += most) starts.push_back(s);
    starts.push_back(n);
    learner.learn(starts);
    LOG.println("  * Learned: " + learner.text());
    selector->prepare(renew, random);
}
