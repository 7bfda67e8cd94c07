#pragma once

#include "containers/genhap_set.h"
#include "modules/stage.h"

/// Normalises the accumulated probabilities of every graph, so that each transition group sums to 1.
class normaliser : public stage {
  public:
    normaliser(genhap_set& G, int n_thread);

    /// The pass over all individuals.
    void normalise();
    /// One individual.
    void normalise(int ind);

  private:
    genhap_set& GH;
};

void* normaliser_callback(void* pass);
