// The graphs of genotypes: building, drawing a walk, the best walk, pruning and merging; and the trees of
// haplotypes. An item is one locus of one individual, or one haplotype of a tree.
#include <cmath>
#include <list>

#include "cohort.h"
#include "selection/haplotypeCluster_builder.h"
#include "twins.h"

namespace {

std::list<bench::cohort> cohorts;
std::list<genotype_graph> graphs;

/// Whether the two haplotypes of individual 0 agree with what its graph lets through at every locus:
/// candidates that don't fit the genotypes are in no walk, so a true walk reproduces the sites that are not
/// ambiguous.
bool fits(const bench::cohort& data, const genotype_graph& graph) {
    const chaplotype &h0 = data.haplotypes.vecH[0], &h1 = data.haplotypes.vecH[1];
    for (int l = 0; l < graph.n_loci(); ++l) {
        const bool heterozygous = h0.get(l) != h1.get(l);
        if (!graph.site_missing[l] && heterozygous != graph.site_ambiguous[l]) return false;
    }
    return true;
}

void measure_graphs(double density) {
    bench::cohort& data = cohorts.emplace_back(20, 10, density);
    const std::string size = "/" + std::to_string(static_cast<int>(density)) + " a Mb";
    genotype_graph& fresh = graphs.emplace_back(data.haplotypes.vecG[0]);
    const double n_loci = fresh.n_loci();
    // Probabilities that prefer some walks by far, as those of the copying model do.
    static random_source draws(1);
    const auto spread = [](genotype_graph& graph) {
        for (float& probability : graph.trans_prob)
            probability = static_cast<float>(std::pow(draws.draw(), 20.0));
        graph.store();
    };
    spread(fresh);
    genotype_graph& pruned = graphs.emplace_back(fresh);
    pruned.pruneAndMerge(0.99);
    spread(pruned);

    std::vector<chaplotype>& H = data.haplotypes.vecH;
    constexpr haplotype_indexes OWN = {0, 1};
    for (const auto& [name, graph] : {std::pair{"fresh", &fresh}, {"pruned", &pruned}}) {
        graph->sample(H, OWN, false, draws);
        bench::expect(fits(data, *graph), "sample");
        graph->maximize(H, OWN, draws);
        bench::expect(fits(data, *graph), "maximize");
        const genotype_graph* g = graph;
        bench::alone(std::string("sample/") + name + size, n_loci,
                     [g, &H] { g->sample(H, OWN, false, draws); });
        bench::alone(std::string("maximize/") + name + size, n_loci, [g, &H] { g->maximize(H, OWN, draws); });
    }
    bench::alone("copy, prune and merge" + size, n_loci, [&fresh] {
        genotype_graph copy = fresh;
        copy.pruneAndMerge(0.99);
    });
}

void measure_trees(int individuals, int cluster_size) {
    bench::cohort& data = cohorts.emplace_back(individuals, 2.2, 250);
    const double n_haplotypes = 2.0 * individuals;
    const auto build = [&data, cluster_size, first = data.first_locus(), last = data.last_locus()] {
        random_source draws(1);
        return haplotypeCluster_builder(data.haplotypes.vecH, cluster_size, 100).build(first, last, draws);
    };
    std::size_t n_members = 0;
    for (const auto& [number, members] : build().clusters()) n_members += members.size();
    bench::expect(n_members >= data.haplotypes.vecH.size() / 2, "tree");
    bench::alone(
        "tree/" + std::to_string(individuals) + " individuals/clusters of " + std::to_string(cluster_size),
        n_haplotypes, build);
}

}  // namespace

int main(int argc, char** argv) {
    measure_graphs(250);
    measure_graphs(2000);
    measure_trees(1000, 500);
    measure_trees(5000, 1000);
    measure_trees(5000, 4000);
    return bench::run(argc, argv);
}
