#include "study.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/files.h"
#include "tools/cohort_files.h"
#include "tools/genotype_sets.h"

namespace e2e {

namespace {

simulation::Settings settings_of(int individuals, double megabases, int panel_individuals, int seed) {
    simulation::Settings settings;
    settings.seed = static_cast<std::uint64_t>(seed);
    settings.individuals = individuals;
    settings.panel_individuals = panel_individuals;
    settings.megabases = megabases;
    settings.missing_rate = 0.02;
    return settings;
}

/// The new GEN layout: the old one after a chromosome column.
std::string with_chromosome(const std::string& gen) {
    std::string text;
    for (const std::string& line : support::lines_of(gen)) text += "20 " + line + "\n";
    return text;
}

/// Number of copies of `allele`. The output may have the alleles in another order than the input.
int copies_of(const std::string& allele, const evaluation::Site& site, bool a, bool b) {
    return ((a ? site.allele1 : site.allele0) == allele) + ((b ? site.allele1 : site.allele0) == allele);
}

}  // namespace

study::study(int individuals, double megabases, int panel_individuals, int seed)
    : study(settings_of(individuals, megabases, panel_individuals, seed)) {}

study::study(const simulation::Settings& settings, double read_depth)
    : simulated(simulation::simulate(settings)) {
    const std::string prefix = at("study");
    simulation::write_bed(simulated, prefix);
    simulation::write_gen(simulated, prefix, false, read_depth);
    simulation::write_vcf(simulated, prefix);
    simulation::write_map(simulated, prefix, false);
    simulation::write_truth(simulated, prefix, false);
    if (settings.panel_individuals > 0) {
        simulation::write_panel(simulated, prefix);
        simulation::write_panel_vcf(simulated, prefix);
    }
    const std::string gen = read("study.gen");
    write("study.gen.gz", support::gzip(gen));
    write("study.gen.bz2", support::bzip2(gen));
    write("new.gen", with_chromosome(gen));
}

std::string study::read(const std::string& name) const {
    return support::read_file(at(name));
}

evaluation::Score study::score(bool from_gen) const {
    constexpr double DEFAULT_THRESHOLD = 0.9;
    const auto truth = evaluation::read_phased(at("study.truth.haps"), at("study.truth.sample"));
    const auto given = from_gen ? evaluation::read_gen(at("study.gen"), at("study.sample"), DEFAULT_THRESHOLD)
                                : evaluation::read_plink(at("study"));
    const auto estimate = evaluation::read_phased(at("out.haps"), at("out.sample"));
    return evaluation::evaluate({.truth = truth, .given = &given}, estimate).total();
}

void expect_law_of_phasing(const std::string& prefix, const std::string& haps, const std::string& sample) {
    const auto given = evaluation::read_plink(prefix);
    const auto phased = evaluation::read_phased(haps, sample);
    EXPECT_EQ(phased.people, given.people);
    ASSERT_EQ(phased.sites.size(), given.sites.size());
    for (std::size_t v = 0; v < given.sites.size(); ++v) {
        const auto& site = phased.sites[v];
        const std::string& second = given.sites[v].allele1;
        EXPECT_EQ(site.position, given.sites[v].position);
        EXPECT_TRUE(site.allele0 == second || site.allele1 == second);
        for (std::size_t i = 0; i < given.people.size(); ++i) {
            if (given.calls[v][i] == evaluation::CalledSet::not_called) continue;
            EXPECT_EQ(copies_of(second, site, phased.alleles[v][2 * i], phased.alleles[v][2 * i + 1]),
                      given.calls[v][i])
                << "variant " << v << ", individual " << given.people[i];
        }
    }
}

}  // namespace e2e
