#pragma once

#include <string>

#include "objects/genotype_graph.h"

namespace support {

/// Reads a graph from text: groups and segments in turn, one per line, with two steps per transition.
///
///     >0 >1                   group 0: chromosome 0 enters candidate 0, chromosome 1 candidate 1
///     [00 11]                 segment 0 with candidates 0 and 1
///     0>0 1>1 | 0>1 1>0 =.25  group 1: two transitions, the second with probability 0.25
///     [0 1]                   segment 1
///     0> 1>                   group 2
///
/// A probability is put into both trans_prob and trans_store; without one they are 0. A locus is ambiguous
/// where candidates differ, and no locus is missing.
genotype_graph graph_from(const std::string& text, const std::string& name = "NA1");

/// The graph that is built from these genotypes (see genotypes_from).
genotype_graph built_from(const std::string& genotype_text, const std::string& name = "NA1");

/// One transition as "l>r l>r", and the transitions of a group, separated by ", ".
std::string transition_text(const genotype_graph& graph, unsigned t);
std::string group_text(const genotype_graph& graph, int g);
/// The candidates of a segment, separated by blanks.
std::string segment_text(const genotype_graph& graph, int s);

}  // namespace support
