#pragma once

#include <vector>

#include "containers/genhap_set.h"
#include "containers/genotype_store.h"
#include "modules/worker_team.h"
#include "objects/genotype_graph.h"
#include "utils/random_source.h"

/// The stages of a run that process each individual separately. Each is one pass of the team.

/// Builds the graph of each individual from its genotypes.
std::vector<genotype_graph> build_graphs(const genotype_store& genotypes, worker_team& team);

/// Samples a new haplotype pair for each individual from its graph. With `uniform`, all linked transitions
/// have equal weight. Ends the run if the weights in a graph underflow or are NaN.
void sample_haplotypes(genhap_set& set, bool uniform, worker_team& team, random_source& random);
/// The first sampling of a run, with equal weights and a progress line.
void sample_first_haplotypes(genhap_set& set, worker_team& team, random_source& random);

/// Shrinks each graph to the most likely transitions that together hold `kept_share` of the probability of
/// each group, and merges segments.
void prune_graphs(genhap_set& set, double kept_share, worker_team& team);

/// Normalises the accumulated probabilities of each graph, so that each transition group sums to 1.
void normalise_graphs(genhap_set& set, worker_team& team);

/// Writes the most likely haplotype pair of each individual into the set.
void solve_haplotypes(genhap_set& set, worker_team& team, random_source& random);
