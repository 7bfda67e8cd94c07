#include "cohort.h"

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace bench {

namespace {

constexpr int WINDOW = 2'000'000;  // bp

simulation::Cohort simulate(int individuals, double megabases, double density) {
    simulation::Settings settings;
    settings.individuals = individuals;
    settings.megabases = megabases;
    settings.density = density;
    settings.missing_rate = 0.005;
    if (density > 1000) settings.ascertainment = simulation::Ascertainment::sequence;
    return simulation::simulate(settings);
}

int first_at(const simulation::Cohort& cohort, double position) {
    const auto found =
        std::find_if(cohort.loci.begin(), cohort.loci.end(),
                     [=](const simulation::Locus& locus) { return locus.position >= position; });
    return static_cast<int>(found - cohort.loci.begin());
}

double middle(const simulation::Cohort& cohort) {
    return cohort.settings.first_position + cohort.settings.megabases * 5e5;
}

genotype_graph graph_of(const simulation::Cohort& cohort,
                        const std::vector<std::vector<simulation::Genotype>>& observed, std::size_t ind) {
    const auto n = static_cast<unsigned>(cohort.loci.size());
    chaplotype a(n), b(n), missing(n);
    for (unsigned l = 0; l < n; ++l) {
        const simulation::Genotype genotype = observed[l][ind];
        const int v = static_cast<int>(l);
        missing.set(v, genotype == simulation::Genotype::missing);
        a.set(v, genotype == simulation::Genotype::homozygous1);
        b.set(v, genotype == simulation::Genotype::homozygous1 ||
                     genotype == simulation::Genotype::heterozygous);
    }
    genotype_graph graph(cohort.study_ids[ind]);
    graph.buildUnr(a, b, missing);
    return graph;
}

}  // namespace

cohort::cohort(int individuals, double megabases, double density)
    : simulated(simulate(individuals, megabases, density)) {
    snp_set variants;
    std::vector<std::vector<simulation::Genotype>> observed;
    for (std::size_t l = 0; l < simulated.loci.size(); ++l) {
        const simulation::Locus& locus = simulated.loci[l];
        variants.put(snp(locus.position, locus.allele0, locus.allele1));
        observed.push_back(simulation::observed_genotypes(simulated, l));
    }
    variants.indexing();
    std::vector<genotype_graph> graphs;
    for (int i = 0; i < individuals; ++i) graphs.push_back(graph_of(simulated, observed, i));
    haplotypes = genhap_set(std::move(variants), std::move(graphs));
    for (std::size_t h = 0; h < haplotypes.vecH.size(); ++h)
        for (std::size_t l = 0; l < simulated.loci.size(); ++l)
            haplotypes.vecH[h].set(static_cast<int>(l), simulated.alleles(l, h));
}

int cohort::first_locus() const {
    return first_at(simulated, middle(simulated) - WINDOW / 2);
}

int cohort::last_locus() const {
    return first_at(simulated, middle(simulated) + WINDOW / 2) - 1;
}

folder::folder() : path(std::filesystem::temp_directory_path() / "tolvane-bench-XXXXXX") {
    if (::mkdtemp(path.data()) == nullptr) throw std::runtime_error("no temporary folder");
}

folder::~folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

}  // namespace bench
