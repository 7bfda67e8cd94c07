#pragma once

#include "containers/genhap_set.h"
#include "modules/stage.h"

/// Draws a new haplotype pair for every individual from its graph.
class sampler : public stage {
  public:
    sampler(genhap_set& G, bool uniform, int n_thread, bool verbose);

    /// The pass over all individuals.
    void sample();
    /// One individual.
    void sample(int ind);

  private:
    genhap_set& GH;
    bool uniform;  // all linked transitions weigh the same
};

void* sampler_callback(void* pass);
