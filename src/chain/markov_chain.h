#pragma once

#include <string>

#include "chain/phasing_jobs.h"
#include "containers/genhap_set.h"
#include "modules/worker_team.h"
#include "utils/random_source.h"

/// One phase of the chain.
struct chain_phase {
    int n_iterations;
    int renewal_step;  // iterations from one renewal of the selection to the next; 0 ends the process
};

/// How long the chain runs, and how.
struct chain_schedule {
    chain_phase burn, prune, main;
    bool early_stop;  // skip the model where the nearest haplotype matches, but for a phase's first iteration
};

/// The Markov chain over the haplotypes of all individuals: burn-in; pruning iterations, whose transition
/// probabilities accumulate until the graphs are pruned; and main iterations, which accumulate anew.
class markov_chain {
  public:
    /// All is borrowed and has to live as long.
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
