#pragma once

#include <memory>
#include <vector>

#include "containers/allele_rows.h"
#include "containers/genhap_set.h"
#include "models/copying_rates.h"
#include "modules/worker_team.h"
#include "selection/conditioning_selector.h"
#include "selection/match_orders.h"

/// What a user can choose about the selection by matches. A window or rate of 0 follows the matches.
struct match_settings {
    int n_states = 150;         // haplotypes to select for a job
    int depth = 8;              // matches noted on each side of a site
    double step = 0.02;         // cM from one site to the next
    double window_bp = 0.0;     // mean size of a window
    double jumps_per_cm = 0.0;  // rate at which the copied haplotype changes
    double mismatch = 1e-4;     // probability that an allele differs from the copied one
    long seed = 1;
};

/// Selects the haplotypes that share the longest stretches with an individual around many sites, and learns
/// from the lengths of these stretches how often the copied haplotype changes.
///
/// In each iteration, all current haplotypes are put into prefix order along the chromosome, in both
/// directions. At each of the chosen sites, the haplotypes that agree longest with each of the individual's
/// two are noted, on either side. A job gets the haplotypes that are noted most often within its window. The
/// time grows with the number of haplotypes, not with its square.
///
/// Sites and windows are chosen at random from streams of their own, one for each iteration, so that the
/// run's generator is not used.
class match_selector : public conditioning_selector {
  public:
    /// Those of an individual, and one to copy from.
    static constexpr int LEAST_HAPLOTYPES = 3;

    /// `set` and `team` are held by reference. Ends the run if there are too few haplotypes.
    match_selector(const genhap_set& set, const match_settings& settings, worker_team& team);

    void prepare(bool renew, random_source& random) override;
    std::vector<phasing_job> list_jobs(random_source& random) const override;
    std::unique_ptr<worker> make_worker() const override;
    const copying_rates* rates() const override { return &learned; }
    int fewest_haplotypes() const override { return 1; }

    // ---- what the last call of prepare() chose

    /// The loci of the sites, in ascending order.
    const std::vector<int>& sites() const { return site_loci; }
    /// The first locus of each window, then the last locus.
    const std::vector<int>& borders() const { return window_borders; }
    /// Jumps per cM.
    double jump_rate() const { return jumps_per_cm; }

  private:
    class match_worker;

    void choose_sites(random_source& random);
    void choose_windows(random_source& random);
    double measure_jumps() const;
    double place(int locus) const;
    double mean_window() const;

    const genhap_set& GH;
    match_settings settings;
    worker_team& team;
    int iteration = 0;
    allele_rows rows;
    std::vector<int> site_loci;
    std::vector<int> window_borders;
    match_orders from_left, from_right;
    double jumps_per_cm = 0.0;
    copying_rates learned;
};
