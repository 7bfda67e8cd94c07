#pragma once

#include "objects/genotype_graph.h"

namespace spare {

/// Whether two transitions have equal left pairs (equalP) or equal right pairs (equalN), as unordered pairs.
/// A transition is given by its byte position, twice its index.
bool equalP(const genotype_graph& graph, unsigned a, unsigned b);
bool equalN(const genotype_graph& graph, unsigned a, unsigned b);

/// Segment that contains locus `l`, or -1.
int getB(const genotype_graph& graph, int l);

}  // namespace spare
