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

void set(genotype_code& code, int l, simulation::Genotype genotype) {
    code.missing.set(l, genotype == simulation::Genotype::missing);
    code.a.set(l, genotype == simulation::Genotype::homozygous1);
    code.b.set(
        l, genotype == simulation::Genotype::homozygous1 || genotype == simulation::Genotype::heterozygous);
}

}  // namespace

cohort::cohort(int individuals, double megabases, double density)
    : simulated(simulate(individuals, megabases, density)) {
    snp_set variants;
    const chaplotype zeros(static_cast<unsigned>(simulated.loci.size()));
    observed.assign(individuals, {zeros, zeros, zeros});
    for (std::size_t l = 0; l < simulated.loci.size(); ++l) {
        const simulation::Locus& locus = simulated.loci[l];
        variants.put(snp(locus.position, locus.allele0, locus.allele1));
        const auto genotypes = simulation::observed_genotypes(simulated, l);
        for (std::size_t i = 0; i < observed.size(); ++i) set(observed[i], static_cast<int>(l), genotypes[i]);
    }
    variants.indexing();
    std::vector<genotype_graph> graphs;
    for (std::size_t i = 0; i < observed.size(); ++i) {
        graphs.emplace_back(simulated.study_ids[i]);
        graphs.back().buildUnr(observed[i].a, observed[i].b, observed[i].missing);
    }
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
