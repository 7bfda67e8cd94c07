#pragma once

#include <memory>
#include <vector>

#include "containers/genhap_set.h"
#include "selection/conditioning_selector.h"
#include "selection/haplotype_tiles.h"

/// Compares an individual with all haplotypes of others. Each individual's graph is cut into windows of its
/// own at random, anew in each iteration. The time grows with the square of the cohort size.
class scan_selector : public conditioning_selector {
  public:
    /// Selects `K` haplotypes per job, in windows of about `window_size` bp. `set` is held by reference.
    scan_selector(const genhap_set& set, int K, int window_size);

    void prepare(bool renew, random_source& random) override;
    std::vector<phasing_job> list_jobs(random_source& random) const override;
    std::unique_ptr<worker> make_worker() const override;

  private:
    const genhap_set& GH;
    int n_wanted;
    int window_bp;
    haplotype_tiles tiles;
};
