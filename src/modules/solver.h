#pragma once

#include "containers/genhap_set.h"
#include "modules/stage.h"

/// Writes the most likely haplotype pair of every individual at the end of a run.
class solver : public stage {
  public:
    solver(genhap_set& G, int n_thread);

    /// The pass over all individuals.
    void solve();
    /// One individual.
    void solve(int ind);

  private:
    genhap_set& GH;
};

void* solver_callback(void* pass);
