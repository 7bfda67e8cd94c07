#pragma once

#include <array>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "modules/worker_team.h"
#include "objects/chaplotype.h"
#include "selection/haplotypeCluster.h"
#include "selection/two_means.h"
#include "utils/random_source.h"

/// Builds trees of clusters of all haplotypes, one window after another, by repeated splitting with two
/// means.
///
///                 all haplotypes
///                /              \                 Splitting cluster c at level L leaves cluster c and
///              0                  1               cluster c + 2^L: numbers are unique without a counter.
///            /   \              /   \             There is no split at level 1.
///          0       4          1       5
///
/// A split compares one locus of each byte, drawn at random for each split. The window is rounded to whole
/// bytes.
class haplotypeCluster_builder {
  public:
    /// Makes clusters of about `cluster_size` haplotypes, at least `least`, and accepts no split with a half
    /// below `least`. `H` and `team`, which compares haplotypes, are held by reference. A cluster size that
    /// reaches the number of haplotypes ends the run at the first build.
    haplotypeCluster_builder(const std::vector<chaplotype>& H, int cluster_size, int least,
                             worker_team& team);

    /// Builds the tree for the variants `a` to `b`, `b` exclusive.
    haplotypeCluster build(int a, int b, random_source& random);

  private:
    std::pair<int, int> split(unsigned int c, int level, random_source& random);
    void grow(unsigned int c, int level, random_source& random);
    bool assign_branch(int first_id, int second_id, half_sums& sums);
    void take_branch(unsigned int c);
    void make_leaf(int c);
    void close_half(int m, int c);
    void top_up(random_source& random);

    const std::vector<chaplotype>& H;
    worker_team& team;
    int cond_size;                                // haplotypes of a cluster
    int min_size;                                 // smallest half that a split may leave
    int first_byte = 0, n_bytes = 0;              // of the current window
    std::map<int, std::vector<int>> clusters;     // cluster number to haplotypes
    std::vector<int> assign;                      // cluster number of each haplotype
    std::vector<int> branch;                      // members of the current branch, in ascending order
    std::optional<two_means> halves;              // of the last split
    std::array<std::vector<float>, 2> distances;  // of the members of the branch to both halves
    std::vector<std::pair<int, float>> closest;   // entries past a short branch persist, even between trees
};
