#pragma once

#include "objects/genotype_graph.h"

namespace spare {

/// Whether two transitions have equal left pairs, or equal right pairs, as unordered pairs. Transitions are
/// named by byte positions, twice their indexes.
bool equalP(const genotype_graph& graph, unsigned a, unsigned b);
bool equalN(const genotype_graph& graph, unsigned a, unsigned b);

/// Segment that holds locus `l`, or -1.
int getB(const genotype_graph& graph, int l);

}  // namespace spare
