#include "modules/builder.h"

builder::builder(const genotype_reader& G, int n_thread)
    : stage(n_thread, "Building graphs"), graphs(G.ind_ids.size(), nullptr), GR(G) {}

void builder::build() {
    run_pass(
        "Building graphs ... ", static_cast<int>(GR.ind_ids.size()), [this](int ind) { build(ind); },
        builder_callback, this);
}

void builder::build(int ind) {
    graphs[ind] = new genotype_graph(GR.ind_ids[ind]);
    graphs[ind]->buildUnr(GR.allele_a[ind], GR.allele_b[ind], GR.missing[ind]);
}

void* builder_callback(void* pass) {
    static_cast<builder*>(pass)->take_items();
    return nullptr;
}
