#include "chain/markov_chain.h"

#include <csignal>
#include <cstdlib>

#include "modules/stages.h"
#include "utils/assertion.h"
#include "utils/lfile.h"

namespace {

constexpr double KEPT_PROBABILITY = 0.99;  // share of a transition group's probability that pruning keeps

/// Whether `iteration` is a multiple of `step`. A step of 0 ends the process with SIGFPE, also on machines
/// where an integer division by zero does not trap.
bool is_every(int step, int iteration) {
    if (step == 0) {
        advise("--cluster_burn, --cluster_prune and --cluster_main must be 1 or more.");
        std::signal(SIGFPE, SIG_DFL);  // the parent process may have set it to be ignored
        std::raise(SIGFPE);
        std::abort();  // reached if the signal is blocked
    }
    return iteration % step == 0;
}

}  // namespace

markov_chain::markov_chain(genhap_set& set, phasing_jobs& iteration_jobs, worker_team& threads,
                           random_source& source)
    : GH(set), jobs(iteration_jobs), team(threads), random(source) {}

void markov_chain::run(const chain_schedule& schedule) {
    run_phase("Burn-in", schedule.burn, schedule.early_stop, false);
    run_phase("Pruning", schedule.prune, schedule.early_stop, true);
    prune_graphs(GH, KEPT_PROBABILITY, team);
    GH.summarise();
    run_phase("Main", schedule.main, schedule.early_stop, true);
    normalise_graphs(GH, team);
}

void markov_chain::run_phase(const std::string& name, const chain_phase& phase, bool early_stop,
                             bool accumulate) {
    const int n = phase.n_iterations;
    for (int i = 0; i < n; ++i) {
        const bool renew = is_every(phase.renewal_step, i);
        const std::string text =
            name + " iteration [" + std::to_string(i + 1) + "/" + std::to_string(n) + "]";
        LOG.println("");
        LOG.printL(text);
        const int n_underflows = jobs.run(renew, early_stop && i > 0);
        LOG.println(text);
        if (n_underflows > 0) LOG.println("  * #underflows recovered = " + std::to_string(n_underflows));
        if (accumulate)
            for (genotype_graph& graph : GH.vecG) graph.store();
        sample_haplotypes(GH, false, team, random);
    }
}
