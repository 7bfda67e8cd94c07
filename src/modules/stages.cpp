#include "modules/stages.h"

#include "modules/pass.h"
#include "modules/turn_order.h"
#include "utils/lfile.h"
#include "utils/my_exception.h"

namespace {

void sample_individual(genhap_set& set, int ind, bool uniform, random_source& random) {
    try {
        set.vecG[ind].sample(set.vecH, haplotypes_of(ind), uniform, random);
        set.equalise_haploid(ind);
    } catch (const myException& failure) {
        LOG.error(failure.msg);
    }
}

/// Samples the haplotypes of an individual. In its turn it takes its numbers from the source, in a copy. If
/// it is not known beforehand how many it needs, the next individual has to wait until it is finished.
void sample_in_turn(genhap_set& set, int ind, bool uniform, turn_order& turns, random_source& random) {
    const int n_draws = set.vecG[ind].n_draws_of_sample();
    random_source own = random_source(0);
    turns.take(ind, [&] {
        if (n_draws < 0) {
            sample_individual(set, ind, uniform, random);
        } else {
            own = random;
            random.skip(n_draws);
        }
    });
    if (n_draws >= 0) sample_individual(set, ind, uniform, own);
}

}  // namespace

std::vector<genotype_graph> build_graphs(const genotype_store& genotypes, worker_team& team) {
    std::vector<genotype_graph> graphs(genotypes.ind_ids.begin(), genotypes.ind_ids.end());
    run_pass(team, {"Building graphs ... ", "Building graphs"}, genotypes.n_individuals(), [&](int ind) {
        graphs[ind].buildUnr(genotypes.allele_a[ind], genotypes.allele_b[ind], genotypes.missing[ind]);
    });
    return graphs;
}

void sample_haplotypes(genhap_set& set, bool uniform, worker_team& team, random_source& random) {
    turn_order turns(team);
    team.run(set.n_individuals(),
             [&](int ind, int /*worker*/) { sample_in_turn(set, ind, uniform, turns, random); });
}

void sample_first_haplotypes(genhap_set& set, worker_team& team, random_source& random) {
    turn_order turns(team);
    run_pass(team, {"Sampling haplotypes", "Sampling haplotypes"}, set.n_individuals(),
             [&](int ind) { sample_in_turn(set, ind, true, turns, random); });
}

void prune_graphs(genhap_set& set, double kept_share, worker_team& team) {
    run_pass(team, {"Pruning graphs", "Pruning graphs"}, set.n_individuals(),
             [&](int ind) { set.vecG[ind].pruneAndMerge(kept_share); });
}

void normalise_graphs(genhap_set& set, worker_team& team) {
    run_pass(team, {"Normalising graphs", "Normalising graphs"}, set.n_individuals(),
             [&](int ind) { set.vecG[ind].normalize(); });
}

void solve_haplotypes(genhap_set& set, worker_team& team, random_source& random) {
    turn_order turns(team);
    run_pass(team, {"Solving haplotypes", "Solving haplotypes"}, set.n_individuals(), [&](int ind) {
        const std::vector<int> path = set.vecG[ind].best_path();
        turns.take(ind, [&] { set.vecG[ind].buildGuesses(set.vecH, haplotypes_of(ind), path, random); });
        set.equalise_haploid(ind);
    });
}
