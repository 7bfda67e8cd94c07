// Genotype graphs: building, sampling a walk, the best walk, pruning and merging; and trees of haplotypes. An
// item is one locus of one individual, or one haplotype of a tree.
#include <algorithm>
#include <cmath>
#include <list>

#include "cohort.h"
#include "comparison.h"
#include "selection/haplotypeCluster_builder.h"

namespace {

std::list<bench::cohort> cohorts;
std::list<genotype_graph> graphs;

/// Whether the two haplotypes of individual 0 agree with its graph at every locus. No walk has a candidate
/// that is inconsistent with the genotypes, so a correct walk reproduces the unambiguous loci.
bool fits(const bench::cohort& data, const genotype_graph& graph) {
    const chaplotype &h0 = data.haplotypes.vecH[0], &h1 = data.haplotypes.vecH[1];
    for (int l = 0; l < graph.n_loci(); ++l) {
        const bool heterozygous = h0.get(l) != h1.get(l);
        if (!graph.site_missing[l] && heterozygous != graph.site_ambiguous[l]) return false;
    }
    return true;
}

/// Gives the pairs of each segment probabilities that strongly prefer a few of them, as the copying model
/// does, and each transition the product of those of its two pairs.
void spread(genotype_graph& graph, random_source& draws) {
    constexpr int N_PAIRS = MAX_SEGMENT_HAPS * MAX_SEGMENT_HAPS;
    const auto pair_of = [](int c, int d) { return std::min(c, d) * MAX_SEGMENT_HAPS + std::max(c, d); };
    std::vector<double> left(N_PAIRS, 1.0), right(N_PAIRS);
    for (int g = 0; g < graph.n_groups(); ++g) {
        for (double& probability : right) probability = std::pow(std::max(draws.draw(), 0.5), 40.0);
        for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t) {
            const int step0 = graph.trans_nodes[2 * t], step1 = graph.trans_nodes[2 * t + 1];
            graph.trans_prob[t] = static_cast<float>(left[pair_of(step0 & 15, step1 & 15)] *
                                                     right[pair_of(step0 >> 4, step1 >> 4)]);
        }
        left.swap(right);
    }
    graph.store();
}

void measure_graphs(double density) {
    bench::cohort& data = cohorts.emplace_back(20, 10, density);
    const std::string size = "/" + std::to_string(static_cast<int>(density)) + " a Mb";
    genotype_graph& fresh = graphs.emplace_back(data.haplotypes.vecG[0]);
    const double n_loci = fresh.n_loci();
    static random_source draws(1);
    spread(fresh, draws);
    genotype_graph& pruned = graphs.emplace_back(fresh);
    pruned.pruneAndMerge(0.99);
    spread(pruned, draws);

    std::vector<chaplotype>& H = data.haplotypes.vecH;
    static constexpr haplotype_indexes OWN = {0, 1};
    for (const auto& [name, graph] : {std::pair{"fresh", &fresh}, {"pruned", &pruned}}) {
        graph->sample(H, OWN, false, draws);
        bench::expect(fits(data, *graph), "sample");
        graph->buildGuesses(H, OWN, graph->best_path(), draws);
        bench::expect(fits(data, *graph), "best path");
        const genotype_graph* g = graph;
        bench::alone(std::string("sample/") + name + size, n_loci,
                     [g, &H] { g->sample(H, OWN, false, draws); });
        bench::alone(std::string("best path/") + name + size, n_loci,
                     [g, &H] { g->buildGuesses(H, OWN, g->best_path(), draws); });
    }
}

/// Both take time in proportion to the length: the nanoseconds per locus do not depend on it.
void measure_lengths(double density) {
    for (const double megabases : {10.0, 60.0}) {
        const bench::cohort& data = cohorts.emplace_back(20, megabases, density);
        const std::string size = "/" + std::to_string(static_cast<int>(megabases)) + " Mb/" +
                                 std::to_string(static_cast<int>(density)) + " a Mb";
        const bench::genotype_code& code = data.observed[0];
        genotype_graph& fresh = graphs.emplace_back(data.haplotypes.vecG[0]);
        const double n_loci = fresh.n_loci();
        random_source draws(1);
        spread(fresh, draws);
        bench::alone("build" + size, n_loci,
                     [&code] { genotype_graph("built").buildUnr(code.a, code.b, code.missing); });
        bench::alone("copy, prune and merge" + size, n_loci, [&fresh] {
            genotype_graph copy = fresh;
            copy.pruneAndMerge(0.99);
        });
    }
}

void measure_trees(int individuals, int cluster_size) {
    bench::cohort& data = cohorts.emplace_back(individuals, 2.2, 250);
    const double n_haplotypes = 2.0 * individuals;
    const auto build = [&data, cluster_size, first = data.first_locus(), last = data.last_locus()] {
        random_source draws(1);
        worker_team alone(1);
        return haplotypeCluster_builder(data.haplotypes.vecH, cluster_size, 100, alone)
            .build(first, last, draws);
    };
    std::size_t n_members = 0;
    const haplotypeCluster tree = build();
    for (const auto& [number, members] : tree.clusters()) n_members += members.size();
    bench::expect(n_members >= data.haplotypes.vecH.size() / 2, "tree");
    bench::alone(
        "tree/" + std::to_string(individuals) + " individuals/clusters of " + std::to_string(cluster_size),
        n_haplotypes, build);
}

}  // namespace

int main(int argc, char** argv) {
    measure_graphs(250);
    measure_graphs(2000);
    measure_lengths(250);
    measure_lengths(2000);
    measure_trees(1000, 500);
    measure_trees(5000, 1000);
    measure_trees(5000, 4000);
    return bench::run(argc, argv);
}
