#pragma once

#include "containers/genhap_set.h"
#include "modules/stage.h"

/// Prunes and merges every graph once the pruning iterations have shown which transitions are unlikely.
class pruner : public stage {
  public:
    pruner(genhap_set& G, double threshold, int n_thread);

    /// The pass over all individuals.
    void prune();
    /// One individual.
    void prune(int ind);

  private:
    genhap_set& GH;
    double threshold;  // share of a group's probability to keep
};

void* pruner_callback(void* pass);
