#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "tools/random_source.h"

namespace simulation {

/// Time before the present in millionths of a generation. Integers keep the sum of branch lengths exact
/// however often the tree changes.
using Time = std::int64_t;
inline constexpr Time one_generation = 1'000'000;

/// The sizes of a randomly mating population, going back in time.
class Demography {
  public:
    struct Epoch {
        double start;        ///< generations before the present
        double individuals;  ///< diploid size from here back to the start of the next epoch
    };

    /// Epochs in ascending order of start; the first starts at 0 and the last never ends.
    explicit Demography(std::vector<Epoch> epochs) : epochs_(std::move(epochs)) {}

    /// The time, in units of Time, at which two lineages that exist at `time` have gone through `units` of
    /// coalescent time, in which they coalesce at rate 1.
    double after(double time, double units) const;

  private:
    std::vector<Epoch> epochs_;
};

/// A population that had about 12,000 individuals for a long time, went through a bottleneck, and has grown
/// in the last few thousand years.
Demography expanding_population();

/// The genealogy of a sample of haplotypes at one locus, and how it changes along the chromosome. Nodes
/// 0 .. leaves - 1 are the haplotypes; the others are common ancestors.
class LocalTree {
  public:
    /// Draws the coalescent tree of a first locus; `leaves` is at least 2. The demography must outlive the
    /// tree.
    LocalTree(int leaves, const Demography& demography, RandomSource& random);

    /// The sum of all branch lengths in generations: recombinations arise at this rate per Morgan.
    double total_length() const;

    /// Applies one recombination by the sequentially Markov coalescent in which a lineage may rejoin its old
    /// branch: the branch is cut at a uniform point and joined to a lineage drawn by the coalescent.
    void recombine(RandomSource& random);

    /// Puts the haplotypes that carry a mutation at a uniform point of the tree into `carriers`.
    void mutate(RandomSource& random, std::vector<int>& carriers) const;

  private:
    static constexpr int none = -1;

    struct Node {
        Time time = 0;
        int parent = none;
        std::array<int, 2> children{none, none};
    };

    struct Point {
        int node;  // on the branch above this node
        Time time;
    };

    // Branch lengths in a tree of partial sums.
    class BranchLengths {
      public:
        explicit BranchLengths(std::size_t nodes) : lengths_(nodes, 0), sums_(nodes + 1, 0) {}
        void set(int node, Time length);
        Time total() const { return total_; }
        // The branch and the position on it at distance `along` (below the total) when all branches are put
        // in a row.
        std::pair<int, Time> find(Time along) const;

      private:
        std::vector<Time> lengths_;
        std::vector<Time> sums_;
        Time total_ = 0;
    };

    Point random_point(RandomSource& random) const;
    Point random_join(Time from, RandomSource& random);
    bool gather_lineages_above(Time time);
    bool spans(int node, double time) const;
    void move_branch(int node, Point join);
    void replace_child(int parent, int old_child, int new_child);
    void refresh_length(int node);

    const Demography& demography_;
    std::vector<Node> nodes_;
    BranchLengths lengths_;
    int root_ = none;
    std::vector<int> lineages_;  // kept to avoid allocations
};

}  // namespace simulation
