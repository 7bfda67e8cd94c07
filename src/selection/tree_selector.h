#pragma once

#include <memory>
#include <vector>

#include "containers/genhap_set.h"
#include "modules/worker_team.h"
#include "selection/conditioning_selector.h"
#include "selection/haplotypeCluster.h"
#include "selection/haplotypeCluster_builder.h"
#include "selection/haplotype_tiles.h"

/// Compares an individual with the haplotypes of its own clusters and some random ones, in windows shared by
/// all individuals, each with a tree of clusters. The time grows a little faster than the cohort size.
class tree_selector : public conditioning_selector {
  public:
    /// Selects `K` haplotypes per job, from clusters of about `cluster_size` haplotypes, with no half of a
    /// split below K, in windows of about `window_size` bp. The team builds the trees. `set` and `team` are
    /// held by reference.
    tree_selector(const genhap_set& set, int K, int cluster_size, double window_size, worker_team& team);

    /// With `renew`, cuts the variants into new random windows and builds a tree in each.
    void prepare(bool renew, random_source& random) override;
    std::vector<phasing_job> list_jobs(random_source& random) const override;
    std::unique_ptr<worker> make_worker() const override;

    /// One tree per window. A renewal with fewer windows than before keeps the surplus trees with their old
    /// windows, and they stay in use.
    const std::vector<haplotypeCluster>& trees() const { return window_trees; }
    /// Window borders as variant indices, one more than there are windows.
    const std::vector<int>& borders() const { return window_borders; }

  private:
    void build_trees(random_source& random);

    const genhap_set& GH;
    int n_wanted;
    int n_in_cluster;
    double window_bp;
    worker_team& team;
    haplotype_tiles tiles;
    std::vector<int> window_borders;
    std::vector<haplotypeCluster_builder> builders;  // one per window
    std::vector<haplotypeCluster> window_trees;
};
