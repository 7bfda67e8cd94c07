#pragma once

#include <memory>
#include <vector>

#include "chain/job_cost.h"
#include "containers/genhap_set.h"
#include "models/haplotype_segment.h"
#include "models/hmm_parameters.h"
#include "modules/worker_team.h"
#include "selection/conditioning_selector.h"
#include "utils/random_source.h"

/// Runs the jobs of an iteration. A job selects conditioning haplotypes for an individual in a window, runs
/// the copying model on them, and writes transition probabilities into the individual's graph.
///
/// The jobs of an individual share transition groups at the borders of windows, where the later job's values
/// stay. So one worker takes all jobs of an individual, in order.
class phasing_jobs {
  public:
    /// All is borrowed and has to live as long.
    phasing_jobs(genhap_set& set, const hmm_parameters& hmm, conditioning_selector& selector,
                 worker_team& team, random_source& random);
    ~phasing_jobs();
    phasing_jobs(const phasing_jobs&) = delete;
    phasing_jobs& operator=(const phasing_jobs&) = delete;

    /// All jobs of one iteration. `renew` is handed on to the selector. A job whose nearest haplotype lies at
    /// distance 0 skips the model when `skip_matched`. Returns the number of transition groups whose products
    /// underflowed.
    int run(bool renew, bool skip_matched);

    /// What the jobs have cost so far, over all workers.
    job_cost cost() const;

  private:
    struct worker;

    void run_individual(const phasing_job* first, const phasing_job* end, bool skip_matched, worker& w);

    genhap_set& GH;
    const hmm_parameters& hmm;
    conditioning_selector& selector;
    worker_team& team;
    random_source& random;
    std::vector<worker> workers;  // working memory of each thread
};
