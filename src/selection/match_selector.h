#pragma once

#include <memory>
#include <vector>

#include "containers/genhap_set.h"
#include "modules/worker_team.h"
#include "selection/conditioning_selector.h"
#include "selection/rate_learner.h"

/// What a user can choose about the selection by matches.
struct match_settings {
    int n_states = 200;      // haplotypes to select for a job
    int depth = 8;           // matches noted on each side of a site
    double window_bp = 0.0;  // mean size of a window; with 0, windows follow the matches
    learning_settings learning;
};

/// Selects the haplotypes that share the longest stretches with an individual around many sites, and learns
/// the rates of the copying model from these stretches.
///
/// In each iteration, all current haplotypes are put into prefix order along the chromosome, in both
/// directions. At each of the chosen sites, the haplotypes that agree longest with each of the individual's
/// two are noted, on either side. A job gets the haplotypes that are noted most often within its window. The
/// time grows with the number of haplotypes, not with its square.
///
/// Sites and windows are chosen at random from the streams of the rate_learner, so that the run's generator
/// is not used.
class match_selector : public conditioning_selector {
  public:
    /// Those of an individual, and one to copy from.
    static constexpr int LEAST_HAPLOTYPES = 3;

    /// `set` and `team` are held by reference. Ends the run if there are too few haplotypes.
    match_selector(const genhap_set& set, const match_settings& settings, worker_team& team);

    void prepare(bool renew, random_source& random) override;
    int n_stretches() const override { return static_cast<int>(first_windows.size()) - 1; }
    void next_stretch() override { learner.orders().open_next(); }
    std::vector<phasing_job> list_jobs(random_source& random) const override;
    std::unique_ptr<worker> make_worker() const override;
    const copying_rates* rates(int individual) const override { return &learner.rates(individual); }
    int fewest_haplotypes() const override { return 1; }

    // ---- what the last call of prepare() chose

    /// The loci of the sites, in ascending order.
    const std::vector<int>& sites() const { return learner.sites(); }
    /// The first locus of each window, then the last locus.
    const std::vector<int>& borders() const { return window_borders; }
    /// The number of the first site of each window, then the number of sites. Each window has a site.
    const std::vector<int>& first_sites() const { return window_sites; }
    const rate_learner& learning() const { return learner; }

  private:
    class match_worker;

    void choose_windows(random_source& random);
    std::vector<int> choose_stretches();
    double place(int locus) const;
    double mean_window() const;

    const genhap_set& GH;
    match_settings settings;
    rate_learner learner;
    std::vector<int> window_borders, window_sites;
    std::vector<int> first_windows;  // of each stretch, then the number of windows
};
