#pragma once

#include <vector>

#include "models/column_kernels.h"
#include "objects/genotype_graph.h"

/// Set the transition probabilities of a group of a graph from haploid masses, which may have any common
/// factor. A transition covers both chromosomes: its probability is the product of two haploid ones, over the
/// sum of the group. `weight` is working memory.

/// The first group, from the mass of each candidate of the first segment.
void weigh_first_group(genotype_graph& G, const column_kernels::lanes& mass, std::vector<double>& weight);
/// The last group, from the mass of each candidate of the last segment.
void weigh_last_group(genotype_graph& G, const column_kernels::lanes& mass, std::vector<double>& weight);
/// Group `s`, between segments s - 1 and s, from the mass of each pair of a left and a right candidate.
/// Normalises the masses. Returns 1 if the products underflowed and were replaced by sums, else 0. Throws
/// myException if the mass of the group underflows or is NaN.
int weigh_inner_group(genotype_graph& G, int s, column_kernels::pair_matrix& mass,
                      std::vector<double>& weight);
