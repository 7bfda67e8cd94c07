#pragma once

#include <map>
#include <utility>
#include <vector>

#include "selection/hamming_selection.h"
#include "utils/random_source.h"

/// A finished tree of clusters of all haplotypes in one window of variants. A selection scans only the
/// clusters of an individual's own two haplotypes. Read-only; built by haplotypeCluster_builder.
class haplotypeCluster {
  public:
    /// The data of a tree. Lists of haplotypes are unordered and may have duplicates.
    struct content {
        int start = 0;                             // first variant of the window
        int stop = 0;                              // one past the last variant of the window
        int cond_size = 0;                         // target number of haplotypes in a cluster
        int n_random = 0;                          // number of random haplotypes that a mask adds
        std::map<int, std::vector<int>> clusters;  // cluster number to haplotypes
        std::vector<int> assign;                   // cluster number of each haplotype
    };

    haplotypeCluster() = default;
    explicit haplotypeCluster(content grown) : tree(std::move(grown)) {}

    /// The window: its first variant, and one past its last.
    int start() const { return tree.start; }
    int stop() const { return tree.stop; }
    const std::map<int, std::vector<int>>& clusters() const { return tree.clusters; }
    const std::vector<int>& assign() const { return tree.assign; }

    /// Marks the haplotypes of the clusters of an individual's two haplotypes, or all if there are no more
    /// than a cluster has. Returns the number of marks.
    int mark_clusters(int individual, haplotype_mask& out) const;
    /// Marks up to n_random() other haplotypes, drawn at random, and lists them in `drawn`. `n_marked` is the
    /// number of marks before.
    void mark_random(int individual, int n_marked, random_source& random, haplotype_mask& out,
                     std::vector<int>& drawn) const;
    int n_random() const { return tree.n_random; }

  private:
    const std::vector<int>& members_of_cluster_with(int haplotype) const;

    content tree;
};
