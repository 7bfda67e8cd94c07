#include "modules/sampler.h"

#include "utils/assertion.h"
#include "utils/lfile.h"
#include "utils/my_exception.h"

sampler::sampler(genhap_set& G, bool equal_weights, int n_thread, bool with_messages)
    : stage(n_thread, "Sampling haplotypes", with_messages), GH(G), uniform(equal_weights) {}

void sampler::sample() {
    run_pass(
        "Sampling haplotypes", static_cast<int>(GH.vecG.size()), [this](int ind) { sample(ind); },
        sampler_callback, this);
}

void sampler::sample(int ind) {
    TOLVANE_ASSERT(ind < static_cast<int>(GH.vecG.size()), "ind < GH.vecG.size()");
    TOLVANE_ASSERT(ind >= 0, "ind >= 0");
    try {
        GH.vecG[ind]->sample(GH.vecH, {2 * ind, 2 * ind + 1}, uniform);
    } catch (const myException& failure) {
        LOG.error(failure.msg);
    }
}

void* sampler_callback(void* pass) {
    static_cast<sampler*>(pass)->take_items();
    return nullptr;
}
