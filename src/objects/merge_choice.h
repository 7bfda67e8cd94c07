#pragma once

#include <array>
#include <vector>

#include "objects/genotype_graph.h"

constexpr int MAX_MERGED_AMBIGUOUS = 21;  // ambiguous loci of a merged segment

/// Chooses which group of a graph to merge away next.
///
/// The rule scans the groups in order. It takes the first one that qualifies, and then each one that leaves
/// fewer merged candidates than the last one taken, and no more ambiguous loci. The last one taken is the
/// choice. Because of the second condition it is not always the one with the fewest candidates.
///
/// Each group taken tightens both limits, so the next one is the first group within the new limits: any
/// earlier one would have been taken before. It is found in a tree over the groups. At most one group is
/// taken for each number of candidates, so a choice and an update both take logarithmic time in the number of
/// groups.
class merge_choice {
  public:
    /// No group qualifies at first.
    explicit merge_choice(int n_groups);

    /// Sets what merging group `g` away leaves: a segment of `n_haps` candidates, at least one, and
    /// `n_ambiguous` ambiguous loci. It qualifies with at most MAX_SEGMENT_HAPS candidates and
    /// MAX_MERGED_AMBIGUOUS ambiguous loci.
    void set(int g, int n_haps, int n_ambiguous);
    /// Excludes group `g`, because it is already merged away or must not be.
    void exclude(int g);

    /// The group to merge away, or -1.
    int choose() const;

  private:
    /// Entry h is the least number of ambiguous loci among the groups with up to h candidates.
    using least_ambiguous = std::array<unsigned char, MAX_SEGMENT_HAPS + 1>;

    int first_within(int max_haps, int max_ambiguous) const;

    int n_leaves;
    std::vector<least_ambiguous> nodes;  // the root is 1, node i has children 2i and 2i + 1, leaves come last
};
