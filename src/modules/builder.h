#pragma once

#include <vector>

#include "modules/stage.h"
#include "objects/genotype_graph.h"
#include "readers/genotype_reader.h"

/// Builds the graph of every individual from the genotypes read.
class builder : public stage {
  public:
    builder(const genotype_reader& G, int n_thread);

    /// The pass over all individuals.
    void build();
    /// One individual.
    void build(int ind);

    /// One graph for each individual; genhap_set takes them over.
    std::vector<genotype_graph*> graphs;

  private:
    const genotype_reader& GR;
};

void* builder_callback(void* pass);
