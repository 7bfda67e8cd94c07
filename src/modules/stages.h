#pragma once

#include <vector>

#include "containers/genhap_set.h"
#include "containers/genotype_store.h"
#include "modules/worker_team.h"
#include "objects/genotype_graph.h"
#include "utils/random_source.h"

/// The stages of a run that treat one individual after the other, each as a pass of the team.

/// Builds the graph of each individual from its genotypes.
std::vector<genotype_graph> build_graphs(const genotype_store& genotypes, worker_team& team);

/// Draws a new haplotype pair for each individual from its graph, all linked transitions weighing the same
/// when `uniform`. A graph without any weight left ends the run.
void sample_haplotypes(genhap_set& set, bool uniform, worker_team& team, random_source& random);
/// The first sampling of a run, all transitions weighing the same, which shows its progress.
void sample_first_haplotypes(genhap_set& set, worker_team& team, random_source& random);

/// Shrinks each graph to the transitions that hold `kept_share` of the probability of each group, and merges
/// segments.
void prune_graphs(genhap_set& set, double kept_share, worker_team& team);

/// Normalises the accumulated probabilities of each graph, so that each transition group sums to 1.
void normalise_graphs(genhap_set& set, worker_team& team);

/// Writes the most likely haplotype pair of each individual into the set.
void solve_haplotypes(genhap_set& set, worker_team& team, random_source& random);
