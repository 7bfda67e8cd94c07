#pragma once

#include <string>

#include "chain/phasing_jobs.h"
#include "containers/genhap_set.h"
#include "modules/worker_team.h"
#include "utils/random_source.h"

/// One phase of the chain.
struct chain_phase {
    int n_iterations;
    int renewal_step;  // iterations between renewals of the selection; 0 ends the process
};

/// The phases of the chain.
struct chain_schedule {
    chain_phase burn, prune, main;
    bool early_stop;  // skip the model on a perfect match, except in the first iteration of a phase
};

/// The Markov chain over the haplotypes of all individuals: burn-in; pruning iterations, whose transition
/// probabilities accumulate until the graphs are pruned; and main iterations, which accumulate again from
/// zero.
class markov_chain {
  public:
    /// All arguments are held by reference and must outlive the chain.
    markov_chain(genhap_set& set, phasing_jobs& jobs, worker_team& team, random_source& random);

    /// Runs all iterations and leaves the graphs normalised.
    void run(const chain_schedule& schedule);

  private:
    void run_phase(const std::string& name, const chain_phase& phase, bool early_stop, bool accumulate);

    genhap_set& GH;
    phasing_jobs& jobs;
    worker_team& team;
    random_source& random;
};
