#pragma once

#include <array>
#include <vector>

#include "objects/genotype_graph.h"

constexpr int MAX_MERGED_AMBIGUOUS = 21;  // ambiguous loci of a merged segment

/// Chooses which group of a graph to merge away next.
///
/// The rule goes through the groups in order and takes the first one that qualifies; after that each one
/// that leaves fewer merged candidates than the one taken last, and not more ambiguous loci. The last one
/// taken is the choice. Both demands at once make it depend on those taken before: it is not simply the one
/// with the fewest candidates.
///
/// Each group taken tightens both limits, so the next one is the first of all groups within them: one before
/// it would have been within the wider limits and taken earlier. It is looked up in a tree over the groups.
/// At most one group is taken for each number of candidates, so that a choice, as a change, costs the
/// logarithm of the number of groups.
class merge_choice {
  public:
    /// No group qualifies at first.
    explicit merge_choice(int n_groups);

    /// Merging group `g` away leaves a segment of `n_haps` candidates, at least one, and `n_ambiguous`
    /// ambiguous loci. It qualifies with up to MAX_SEGMENT_HAPS of the former and MAX_MERGED_AMBIGUOUS of the
    /// latter.
    void set(int g, int n_haps, int n_ambiguous);
    /// Group `g` is gone, or not to be merged away.
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
