#pragma once

#include <atomic>
#include <vector>

#include "containers/genhap_set.h"
#include "modules/stage.h"
#include "objects/haplotypeCluster.h"

/// Keeps one tree of haplotypes for each window of the chromosome. A pass cuts the variants into new random
/// windows and builds a tree in each. Lives as long as the run, unlike the other stages.
class clusterer : public stage {
  public:
    /// Without haplotypes; a pass ends the run.
    clusterer();
    /// Clusters of about `c1` haplotypes, no half of a split below `n_states`, windows of about
    /// `window_size` bp. `c2` is handed on to the trees.
    clusterer(const genhap_set* GH, float c1, float c2, int n_states, double window_size, int n_thread);

    /// The pass over all windows.
    void cluster();
    /// One window.
    void cluster(int w);

    /// Seconds spent building trees, summed over all threads; a diagnostic.
    std::atomic<long> time_total = 0;
    /// One tree a window. A pass with fewer windows than the one before leaves the surplus trees with their
    /// old windows, and they stay in use.
    std::vector<haplotypeCluster> clusters;
    /// Window borders as variant indices, one more than there are windows.
    std::vector<int> boundaries;

  private:
    const genhap_set* GH = nullptr;
    float c1 = 0.0F;
    float c2 = 0.0F;
    int n_states = 0;
    double window_size = 0.0;
};

void* clusterer_callback(void* pass);
