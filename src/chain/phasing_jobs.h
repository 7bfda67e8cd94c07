#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "chain/job_cost.h"
#include "containers/genhap_set.h"
#include "models/haplotype_segment.h"
#include "models/hmm_parameters.h"
#include "modules/turn_order.h"
#include "modules/worker_team.h"
#include "selection/conditioning_selector.h"
#include "utils/random_source.h"

/// Runs the jobs of an iteration. A job selects conditioning haplotypes for an individual in a window, runs
/// the copying model on them, and writes transition probabilities into the individual's graph.
///
/// Jobs of one individual in neighbouring windows share transition groups, and the later job overwrites the
/// values of the earlier one. So one worker runs all jobs of an individual, in order.
class phasing_jobs {
  public:
    /// All arguments are held by reference and must outlive this object.
    phasing_jobs(genhap_set& set, const hmm_parameters& hmm, conditioning_selector& selector,
                 worker_team& team, random_source& random);
    ~phasing_jobs();
    phasing_jobs(const phasing_jobs&) = delete;
    phasing_jobs& operator=(const phasing_jobs&) = delete;

    /// Runs all jobs of one iteration. `renew` is passed to the selector. With `skip_matched`, a job skips
    /// the model if its selection returns distance 0. Returns the number of transition groups whose products
    /// underflowed.
    int run(bool renew, bool skip_matched);

    /// Cost of all jobs so far, summed over the workers.
    job_cost cost() const;

  private:
    struct worker;

    std::string advice_on_few(const phasing_job& job, std::size_t n) const;
    void run_stretch(int stretch, bool skip_matched);
    void run_individual(int item, std::span<const phasing_job> jobs, turn_order& turns, bool skip_matched,
                        worker& w);
    void run_model(const phasing_job& job, worker& w);

    genhap_set& GH;
    const hmm_parameters& hmm;
    conditioning_selector& selector;
    worker_team& team;
    random_source& random;
    std::vector<worker> workers;  // one per thread
    double preparing_seconds = 0.0;
};
