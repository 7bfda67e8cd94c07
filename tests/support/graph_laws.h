#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "objects/genotype_graph.h"
#include "support/haplotype_text.h"

/// What holds for every graph, told in plain loops that share no code with the graph's own.
namespace support {

/// Shapes of all vectors, ranges of all candidate numbers, and no transition without a linked one on each
/// side.
::testing::AssertionResult check_invariants(const genotype_graph& graph);

/// Whether transition `b` of the graph can follow transition `a`: the pairs in the middle are the same.
bool can_follow(const genotype_graph& graph, unsigned a, unsigned b);

/// Calls `visit` for each walk: a transition of each group, by its number in the graph.
void for_each_walk(const genotype_graph& graph,
                   const std::function<void(const std::vector<unsigned>&)>& visit);

/// The haplotype pairs that a walk may stand for: several where both chromosomes meet at one candidate.
std::set<haplotype_pair> pairs_of_walk(const genotype_graph& graph, const std::vector<unsigned>& walk);
/// Those of all walks.
std::set<haplotype_pair> pairs_of(const genotype_graph& graph);

/// The plain twin of consolide: one sweep from left to right that gives kept transitions without a kept
/// neighbour the best one. Returns the number of flags set.
unsigned sweep_plainly(const genotype_graph& graph, std::vector<bool>& kept);

}  // namespace support
