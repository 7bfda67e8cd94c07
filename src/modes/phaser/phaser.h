#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "containers/genhap_set.h"
#include "models/haplotype_segment.h"
#include "models/hmm_parameters.h"
#include "modes/tolvane.h"
#include "modules/clusterer.h"
#include "modules/worker_team.h"

/// The phasing mode: reads unphased genotypes, runs a Markov chain over the haplotype graphs of all
/// individuals, and writes the most likely haplotypes.
class phaser : public tolvane {
  public:
    /// A whole run.
    void phase(const std::vector<std::string>& args);

    // ---- options and their checks, phaser_parameters.cpp
    void declare_options() override;
    void check_options() override;
    void check_files() override;
    void verbose_mode() override;
    void verbose_options() override;

    // ---- start and end of the run, phaser_initialise.cpp and phaser_finalise.cpp
    void read_files_and_initialise() override;
    void write_files_and_finalise() override;

    // ---- the chain, phaser_algorithm.cpp

    /// Burn-in, pruning and main iterations.
    void phase();
    /// One iteration: every individual in every window, as jobs. `recluster` asks for new trees of
    /// haplotypes where the selection goes through trees.
    void phaseWindow(const std::string& text, bool recluster);
    /// One job: selects conditioning haplotypes and runs the copying model, in a worker's memory.
    struct worker_memory;
    void phaseWindow(int job, worker_memory& memory);
    /// Body of a worker: takes jobs until none is left.
    void take_jobs();

    /// What the jobs of the run have cost so far, over all workers; for measuring.
    struct job_cost {
        double selection_seconds = 0.0;
        double model_seconds = 0.0;
        model_work model;
    };
    const job_cost& cost_of_jobs() const { return cost; }

  protected:
    std::vector<std::string> input_files() const override;
    std::vector<std::string> output_files(const std::string& log) const override;

  private:
    /// A run of whole segments of one individual's graph; all bounds inclusive.
    struct segment_range {
        int first_locus, last_locus, first_segment, last_segment;
    };
    /// An individual in one window: a range of its own, or that of a tree of `cluster_stage`.
    struct phasing_job {
        int ind;
        int tree;  // -1 for a range of its own
        segment_range range;
    };

    double number(const std::string& option) const;
    std::vector<std::string> files(const std::string& option, const std::vector<std::string>& endings) const;
    void check_inputs(const std::string& option, const std::vector<std::string>& endings,
                      const std::string& wrong_count) const;
    void check_clustering();
    void check_step(const std::string& phase_name, int& step) const;
    void check_iterations(const std::string& phase_name, const std::string& text, int least, int many) const;
    void check_model() const;

    void read_data();
    void read_genotypes(class genotype_reader& reader) const;
    void place_on_map(snp_set& snps) const;

    void run_iterations(const std::string& phase_name, const std::string& text, int step, bool store);
    void list_window_jobs();
    void list_cluster_jobs();
    int select_in_tree(phasing_job& job, worker_memory& memory);

    std::unique_ptr<snp_set> snps;
    genhap_set haplotypes;
    hmm_parameters hmm;
    std::unique_ptr<clusterer> cluster_stage;  // where the selection goes through trees
    bool use_clusters = false;
    bool early_stop = false;
    double cluster_size = 0.0;
    int iteration = -1;
    int cluster_burn_step = 1;
    int cluster_prune_step = 1;
    int cluster_main_step = 1;
    std::vector<phasing_job> jobs;
    std::unique_ptr<worker_team> team;
    std::mutex mutex_cost;  // guards cost
    job_cost cost;
    std::atomic<int> underflows = 0;  // of the iteration in hand; decides nothing
};

void* phaseWindow_callback(void* mode);
