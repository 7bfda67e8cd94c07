#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>

#include "models/haplotype_segment.h"
#include "modes/phaser/phaser.h"
#include "modules/normaliser.h"
#include "modules/pruner.h"
#include "modules/sampler.h"
#include "utils/assertion.h"
#include "utils/lfile.h"
#include "utils/my_exception.h"
#include "utils/sutils.h"

namespace {

constexpr double KEPT_PROBABILITY = 0.99;  // share of a transition group's probability that pruning keeps

/// Whether an iteration is one of every `step`. A step of 0 ends the process with the signal of a division
/// by zero, on machines too whose division doesn't trap.
bool is_every(int step, int iteration) {
    if (step == 0) {
        std::signal(SIGFPE, SIG_DFL);  // whoever has started the process may have had it ignored
        std::raise(SIGFPE);
        std::abort();  // where the signal is blocked
    }
    return iteration % step == 0;
}

/// Tells the seconds between laps.
class stopwatch {
  public:
    double lap() {
        const clock::time_point before = now;
        now = clock::now();
        return std::chrono::duration<double>(now - before).count();
    }

  private:
    using clock = std::chrono::steady_clock;
    clock::time_point now = clock::now();
};

}  // namespace

/// What a worker keeps from job to job.
struct phaser::worker_memory {
    std::vector<int> idxH;  // conditioning haplotypes
    haplotype_mask mask;    // haplotypes to select from, in a tree
    segment_buffers buffers;
    double selection_seconds = 0.0;
    double model_seconds = 0.0;
};

void phaser::phase() {
    run_iterations("burn", "Burn-in", cluster_burn_step, false);
    run_iterations("prune", "Pruning", cluster_prune_step, true);
    pruner(haplotypes, KEPT_PROBABILITY, value<int>("thread")).prune();
    haplotypes.summarise();
    run_iterations("main", "Main", cluster_main_step, true);
    normaliser(haplotypes, value<int>("thread")).normalise();
}

void phaser::run_iterations(const std::string& phase_name, const std::string& text, int step, bool store) {
    const int n = value<int>(phase_name);
    for (iteration = 0; iteration < n; ++iteration) {
        phaseWindow(text + " iteration [" + sutils::int2str(iteration + 1) + "/" + sutils::int2str(n) + "]",
                    is_every(step, iteration));
        if (store)
            for (genotype_graph* graph : haplotypes.vecG) graph->store();
        sampler(haplotypes, false, value<int>("thread"), false).sample();
    }
}

void phaser::list_window_jobs() {
    const int span = snps->snp_list.back()->bp - snps->snp_list.front()->bp;
    const int window_size = static_cast<int>(std::floor(1e6 * value<double>("window")));
    std::vector<int> first_locus, last_locus, first_segment, last_segment;
    for (int ind = 0; ind < static_cast<int>(haplotypes.vecG.size()); ++ind) {
        haplotypes.vecG[ind]->cluster(span, window_size, first_locus, last_locus, first_segment,
                                      last_segment);
        for (std::size_t w = 0; w < first_locus.size(); ++w)
            jobs.push_back({ind, -1, {first_locus[w], last_locus[w], first_segment[w], last_segment[w]}});
    }
}

void phaser::list_cluster_jobs() {
    for (int ind = 0; ind < static_cast<int>(haplotypes.vecG.size()); ++ind)
        for (int tree = 0; tree < static_cast<int>(cluster_stage->clusters.size()); ++tree)
            jobs.push_back({ind, tree, {}});
}

void phaser::phaseWindow(const std::string& text, bool recluster) {
    LOG.println("");
    LOG.printL(text);
    underflows = 0;
    haplotypes.arrange();
    jobs.clear();
    if (use_clusters) {
        if (recluster) cluster_stage->cluster();
        list_cluster_jobs();
    } else {
        list_window_jobs();
    }
    team->run(phaseWindow_callback, this);
    LOG.println(text);
    if (underflows > 0) LOG.println("  * #underflows recovered = " + sutils::int2str(underflows));
}

void phaser::take_jobs() {
    worker_memory memory;
    const int n_jobs = static_cast<int>(jobs.size());
    for (int job = team->take(); job < n_jobs; job = team->take()) phaseWindow(job, memory);
    const std::lock_guard lock(mutex_cost);
    cost.selection_seconds += memory.selection_seconds;
    cost.model_seconds += memory.model_seconds;
    cost.model += memory.buffers.work;
}

void* phaseWindow_callback(void* mode) {
    static_cast<phaser*>(mode)->take_jobs();
    return nullptr;
}

/// Selects the conditioning haplotypes of a job from its tree, and gives the job its range.
int phaser::select_in_tree(phasing_job& job, worker_memory& memory) {
    const haplotypeCluster& tree = cluster_stage->clusters[job.tree];
    segment_range& range = job.range;
    haplotypes.vecG[job.ind]->getClosestBoundaries(tree.start, tree.stop, range.first_locus, range.last_locus,
                                                   range.first_segment, range.last_segment);
    tree.mask(job.ind, memory.mask);
    return haplotypes.subsetHaplotypes_hamming(memory.mask, job.ind, value<int>("states"), range.first_locus,
                                               range.last_locus, memory.idxH);
}

void phaser::phaseWindow(int index, worker_memory& memory) {
    phasing_job job = jobs[index];
    const segment_range& range = job.range;
    std::vector<int>& idxH = memory.idxH;
    stopwatch watch;
    const int distance = job.tree < 0
                             ? haplotypes.subsetHaplotypes_hamming(job.ind, value<int>("states"),
                                                                   range.first_locus, range.last_locus, idxH)
                             : select_in_tree(job, memory);
    TOLVANE_ASSERT(idxH.size() > 4, "idxH.size()>4");
    std::sort(idxH.begin(), idxH.end());
    memory.selection_seconds += watch.lap();
    if (distance < 1 && iteration != 0 && early_stop) return;
    haplotype_segment segment(haplotypes.vecH, idxH, range.first_segment, range.last_segment,
                              range.first_locus, range.last_locus, memory.buffers);
    try {
        underflows.fetch_add(segment.expectation(hmm, haplotypes.vecG[job.ind]), std::memory_order_relaxed);
    } catch (const myException& failure) {
        LOG.error(failure.msg);
    }
    memory.model_seconds += watch.lap();
}
