#include "modules/solver.h"

#include "utils/assertion.h"

solver::solver(genhap_set& G, int n_thread) : stage(n_thread, "Solving haplotypes"), GH(G) {}

void solver::solve() {
    run_pass(
        "Solving haplotypes", static_cast<int>(GH.vecG.size()), [this](int ind) { solve(ind); },
        solver_callback, this);
}

void solver::solve(int ind) {
    TOLVANE_ASSERT(ind < static_cast<int>(GH.vecG.size()), "ind < GH.vecG.size()");
    TOLVANE_ASSERT(ind >= 0, "ind >= 0");
    GH.vecG[ind]->maximize(GH.vecH, {2 * ind, 2 * ind + 1});
}

void* solver_callback(void* pass) {
    static_cast<solver*>(pass)->take_items();
    return nullptr;
}
