#pragma once

#include <map>
#include <utility>
#include <vector>

#include "selection/hamming_selection.h"
#include "utils/random_source.h"

/// A finished tree of clusters over all haplotypes in one window of variants: a selection scans the clusters
/// of an individual's own two haplotypes instead of all haplotypes. It is read-only; haplotypeCluster_builder
/// grows it.
class haplotypeCluster {
  public:
    /// What a tree holds. Lists of haplotypes are in no order and may repeat entries.
    struct content {
        int start = 0;                             // first variant of the window
        int stop = 0;                              // variant behind the window
        int cond_size = 0;                         // wanted number of haplotypes in a cluster
        int min_size = 0;                          // random haplotypes that a mask adds
        std::map<int, std::vector<int>> clusters;  // cluster number to haplotypes
        std::vector<int> assign;                   // cluster number of each haplotype
    };

    haplotypeCluster() = default;
    explicit haplotypeCluster(content grown) : tree(std::move(grown)) {}

    /// The window: first variant, and the one behind the last.
    int start() const { return tree.start; }
    int stop() const { return tree.stop; }
    const std::map<int, std::vector<int>>& clusters() const { return tree.clusters; }
    const std::vector<int>& assign() const { return tree.assign; }

    /// Marks the haplotypes to scan for an individual: those of the clusters of its two haplotypes and
    /// min_size random ones, without its own.
    void mask(int individual, random_source& random, haplotype_mask& out) const;

  private:
    const std::vector<int>& members_of_cluster_with(int haplotype) const;

    content tree;
};
