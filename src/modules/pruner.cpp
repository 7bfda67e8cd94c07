#include "modules/pruner.h"

#include "utils/assertion.h"

pruner::pruner(genhap_set& G, double kept_share, int n_thread)
    : stage(n_thread, "Pruning graphs"), GH(G), threshold(kept_share) {}

void pruner::prune() {
    run_pass(
        "Pruning graphs", static_cast<int>(GH.vecG.size()), [this](int ind) { prune(ind); }, pruner_callback,
        this);
}

void pruner::prune(int ind) {
    TOLVANE_ASSERT(ind < static_cast<int>(GH.vecG.size()), "ind < GH.vecG.size()");
    TOLVANE_ASSERT(ind >= 0, "ind >= 0");
    GH.vecG[ind]->pruneAndMerge(threshold);
}

void* pruner_callback(void* pass) {
    static_cast<pruner*>(pass)->take_items();
    return nullptr;
}
