#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "objects/genotype_graph.h"
#include "support/haplotype_text.h"

/// Checks that hold for every graph, in plain loops that share no code with the graph's own.
namespace support {

/// Checks the sizes of all vectors and the ranges of all candidate numbers, and that each transition is
/// linked to one on each side.
::testing::AssertionResult check_invariants(const genotype_graph& graph);

/// Whether transition `b` of the graph can follow transition `a`: the right pair of `a` is the left pair of
/// `b`.
bool can_follow(const genotype_graph& graph, unsigned a, unsigned b);

/// Calls `visit` for each walk, given as the transition of each group by its number in the graph.
void for_each_walk(const genotype_graph& graph,
                   const std::function<void(const std::vector<unsigned>&)>& visit);

/// The haplotype pairs that a walk can give: several if both chromosomes are at the same candidate somewhere.
std::set<haplotype_pair> pairs_of_walk(const genotype_graph& graph, const std::vector<unsigned>& walk);
/// Those of all walks.
std::set<haplotype_pair> pairs_of(const genotype_graph& graph);

/// Reference implementation of consolide: one sweep from left to right that keeps the best link of each kept
/// transition without a kept one. Returns the number of flags set.
unsigned sweep_plainly(const genotype_graph& graph, std::vector<bool>& kept);

}  // namespace support
