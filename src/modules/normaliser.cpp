#include "modules/normaliser.h"

#include "utils/assertion.h"

normaliser::normaliser(genhap_set& G, int n_thread) : stage(n_thread, "Normalising graphs"), GH(G) {}

void normaliser::normalise() {
    run_pass(
        "Normalising graphs", static_cast<int>(GH.vecG.size()), [this](int ind) { normalise(ind); },
        normaliser_callback, this);
}

void normaliser::normalise(int ind) {
    TOLVANE_ASSERT(ind < static_cast<int>(GH.vecG.size()), "ind < GH.vecG.size()");
    TOLVANE_ASSERT(ind >= 0, "ind >= 0");
    GH.vecG[ind]->normalize();
}

void* normaliser_callback(void* pass) {
    static_cast<normaliser*>(pass)->take_items();
    return nullptr;
}
