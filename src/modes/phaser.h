#pragma once

#include <memory>
#include <string>
#include <vector>

#include "chain/job_cost.h"
#include "chain/phasing_jobs.h"
#include "containers/genhap_set.h"
#include "models/hmm_parameters.h"
#include "modes/options.h"
#include "modes/study.h"
#include "modules/worker_team.h"
#include "selection/conditioning_selector.h"
#include "utils/output_files.h"
#include "utils/random_source.h"
#include "writers/haplotype_writer.h"

/// A phasing run: reads unphased genotypes, runs a Markov chain over the haplotype graphs of all individuals,
/// and writes the most likely haplotypes.
class phaser {
  public:
    /// Reads the command line of a run that started at `start` (seconds since 1970), and checks options and
    /// files.
    phaser(const std::vector<std::string>& args, long start);

    /// Runs all three parts below, or only checks the input if the options say so.
    void phase();

    // The parts of a run, in order.

    /// Reads the input, builds the graphs and samples the first haplotypes.
    void read_files_and_initialise();
    /// Burn-in, pruning and main iterations.
    void run_chain();
    /// Finds the best haplotypes and writes them.
    void write_files_and_finalise();

    /// Cost of all jobs of the chain so far, for benchmarks.
    job_cost cost_of_jobs() const { return jobs->cost(); }

    /// Time that threads can share, for benchmarks.
    team_seconds seconds_of_team() const { return team.seconds; }

  private:
    void check_input();
    std::unique_ptr<result_sink> make_vcf_sink();

    output_files outputs;
    run_options options;
    random_source random;
    worker_team team;
    run_input input;  // what is left of it once the graphs are built
    genhap_set haplotypes;
    hmm_parameters hmm;
    std::unique_ptr<conditioning_selector> selector;
    std::unique_ptr<phasing_jobs> jobs;
};
