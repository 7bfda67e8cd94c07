#include "tools/simulation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <stdexcept>

using simulation::Ascertainment;
using simulation::Cohort;
using simulation::Genotype;
using simulation::Locus;
using simulation::Settings;
using simulation::simulate;

namespace {

Settings small_settings() {
    Settings settings;
    settings.individuals = 100;
    settings.megabases = 1;
    return settings;
}

int carriers(const Cohort& cohort, std::size_t locus, std::size_t first, std::size_t end) {
    int count = 0;
    for (std::size_t haplotype = first; haplotype < end; ++haplotype)
        count += cohort.alleles(locus, haplotype);
    return count;
}

double minor_allele_frequency(const Cohort& cohort, std::size_t locus) {
    const double haplotypes = static_cast<double>(cohort.alleles.columns());
    const double frequency = carriers(cohort, locus, 0, cohort.alleles.columns()) / haplotypes;
    return std::min(frequency, 1 - frequency);
}

// Squared correlation of the alleles at two loci over all haplotypes.
double squared_correlation(const Cohort& cohort, std::size_t a, std::size_t b) {
    const std::size_t haplotypes = cohort.alleles.columns();
    const double n = static_cast<double>(haplotypes);
    double both = 0;
    for (std::size_t h = 0; h < haplotypes; ++h) both += cohort.alleles(a, h) && cohort.alleles(b, h);
    const double p = carriers(cohort, a, 0, haplotypes) / n;
    const double q = carriers(cohort, b, 0, haplotypes) / n;
    const double covariance = both / n - p * q;
    return covariance * covariance / (p * (1 - p) * q * (1 - q));
}

// Mean over the pairs of common loci whose distance in bp is in [from, to).
double mean_squared_correlation(const Cohort& cohort, int from, int to) {
    double sum = 0;
    int pairs = 0;
    for (std::size_t a = 0; a < cohort.loci.size(); ++a) {
        for (std::size_t b = a + 1; b < cohort.loci.size(); ++b) {
            const int distance = cohort.loci[b].position - cohort.loci[a].position;
            if (distance < from || distance >= to) continue;
            if (minor_allele_frequency(cohort, a) < 0.05 || minor_allele_frequency(cohort, b) < 0.05)
                continue;
            sum += squared_correlation(cohort, a, b);
            ++pairs;
        }
    }
    EXPECT_GT(pairs, 0);
    return sum / pairs;
}

double share_of_rare_variants(const Cohort& cohort) {
    int rare = 0;
    for (std::size_t row = 0; row < cohort.loci.size(); ++row)
        rare += minor_allele_frequency(cohort, row) < 0.05;
    return rare / static_cast<double>(cohort.loci.size());
}

TEST(Simulate, LociAreOrderedUniqueAndPolymorphic) {
    Settings settings = small_settings();
    settings.indel_rate = 0.3;
    const Cohort cohort = simulate(settings);
    ASSERT_EQ(cohort.loci.size(), 250u);
    std::set<std::string> ids;
    int indels = 0;
    for (std::size_t row = 0; row < cohort.loci.size(); ++row) {
        const Locus& locus = cohort.loci[row];
        if (row > 0) {
            EXPECT_LT(cohort.loci[row - 1].position, locus.position);
        }
        EXPECT_GE(locus.position, 1'000'001);
        EXPECT_LE(locus.position, 2'000'000);
        EXPECT_TRUE(ids.insert(locus.id).second);
        EXPECT_NE(locus.allele0, locus.allele1);
        EXPECT_EQ((locus.allele0 + locus.allele1).find_first_not_of("ACGT"), std::string::npos);
        indels += locus.allele0.size() != locus.allele1.size();
        EXPECT_GT(carriers(cohort, row, 0, 200), 0);
        EXPECT_LT(carriers(cohort, row, 0, 200), 200);
    }
    EXPECT_NEAR(indels, 75, 25);
}

TEST(Simulate, SameSeedSameCohort) {
    const Cohort first = simulate(small_settings());
    const Cohort second = simulate(small_settings());
    Settings settings = small_settings();
    settings.seed = 2;
    const Cohort other = simulate(settings);
    int differences = 0;
    for (std::size_t row = 0; row < first.loci.size(); ++row) {
        ASSERT_EQ(first.loci[row].id, second.loci[row].id);
        for (std::size_t haplotype = 0; haplotype < 200; ++haplotype) {
            ASSERT_EQ(first.alleles(row, haplotype), second.alleles(row, haplotype));
            differences += first.alleles(row, haplotype) != other.alleles(row, haplotype);
        }
    }
    EXPECT_GT(differences, 0);
}

TEST(Simulate, MapIncreasesWithHotSpots) {
    Settings settings = small_settings();
    settings.megabases = 10;
    const Cohort cohort = simulate(settings);
    const auto& points = cohort.map.points();
    ASSERT_GT(points.size(), 1'000u);
    EXPECT_EQ(points.front().position, 1'000'001);
    EXPECT_EQ(points.back().position, 11'000'000);
    double hot = 0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        const double step = points[i].centimorgans - points[i - 1].centimorgans;
        ASSERT_LT(points[i - 1].position, points[i].position);
        ASSERT_NEAR(step, points[i - 1].rate * (points[i].position - points[i - 1].position) / 1e6, 1e-9);
        if (points[i - 1].rate > 3) hot += step;
    }
    const double total = points.back().centimorgans - points.front().centimorgans;
    EXPECT_NEAR(total, 12, 4);
    EXPECT_GT(hot / total, 0.6);
    EXPECT_DOUBLE_EQ(cohort.map.centimorgans(1), points.front().centimorgans);
    EXPECT_DOUBLE_EQ(cohort.map.centimorgans(20'000'000), points.back().centimorgans);
    const int middle = (points[5].position + points[6].position) / 2;
    EXPECT_GT(cohort.map.centimorgans(middle), points[5].centimorgans);
    EXPECT_LT(cohort.map.centimorgans(middle), points[6].centimorgans);
}

TEST(Simulate, ArraysFindCommonVariantsAndSequencesRareOnes) {
    Settings settings = small_settings();
    EXPECT_LT(share_of_rare_variants(simulate(settings)), 0.2);
    settings.ascertainment = Ascertainment::sequence;
    EXPECT_GT(share_of_rare_variants(simulate(settings)), 0.4);
}

TEST(Simulate, LinkageDisequilibriumFallsWithDistance) {
    Settings settings = small_settings();
    settings.megabases = 2;
    const Cohort cohort = simulate(settings);
    const double close = mean_squared_correlation(cohort, 0, 10'000);
    const double middle = mean_squared_correlation(cohort, 20'000, 50'000);
    const double far = mean_squared_correlation(cohort, 500'000, 1'000'000);
    EXPECT_GT(close, 0.2);
    EXPECT_LT(close, 0.6);
    EXPECT_GT(middle, 2 * far);
    EXPECT_LT(far, 0.03);
}

TEST(Simulate, PanelLacksSomeVariantsAndHasOthers) {
    Settings settings = small_settings();
    settings.panel_individuals = 50;
    settings.absent_in_panel_rate = 0.2;
    settings.extra_in_panel_rate = 0.4;
    const Cohort cohort = simulate(settings);
    int in_study = 0;
    int in_both = 0;
    for (std::size_t row = 0; row < cohort.loci.size(); ++row) {
        const Locus& locus = cohort.loci[row];
        ASSERT_TRUE(locus.in_study || locus.in_panel);
        in_study += locus.in_study;
        in_both += locus.in_study && locus.in_panel;
        if (!locus.in_study) {
            EXPECT_GT(carriers(cohort, row, 200, 300), 0);
            EXPECT_LT(carriers(cohort, row, 200, 300), 100);
        }
    }
    EXPECT_EQ(in_study, 250);
    EXPECT_EQ(cohort.loci.size(), 350u);
    EXPECT_NEAR(in_both, 200, 25);
}

TEST(ObservedGenotypes, MissingAndWrongGenotypesHaveTheirRates) {
    Settings settings = small_settings();
    settings.missing_rate = 0.1;
    settings.error_rate = 0.05;
    const Cohort cohort = simulate(settings);
    int missing = 0;
    int wrong = 0;
    for (std::size_t row = 0; row < cohort.loci.size(); ++row) {
        const std::vector<Genotype> genotypes = observed_genotypes(cohort, row);
        ASSERT_EQ(genotypes, observed_genotypes(cohort, row));
        for (std::size_t i = 0; i < genotypes.size(); ++i) {
            const auto truth = Genotype(cohort.alleles(row, 2 * i) + cohort.alleles(row, 2 * i + 1));
            missing += genotypes[i] == Genotype::missing;
            wrong += genotypes[i] != Genotype::missing && genotypes[i] != truth;
        }
    }
    EXPECT_NEAR(missing / 25'000.0, 0.1, 0.01);
    EXPECT_NEAR(wrong / 25'000.0, 0.05 * 0.9, 0.006);
}

TEST(ObservedGenotypes, EveryVariantShowsBothAlleles) {
    Settings settings = small_settings();
    settings.ascertainment = Ascertainment::sequence;
    settings.missing_rate = 0.5;
    const Cohort cohort = simulate(settings);
    for (std::size_t row = 0; row < cohort.loci.size(); ++row) {
        std::set<Genotype> seen;
        for (const Genotype genotype : observed_genotypes(cohort, row)) seen.insert(genotype);
        EXPECT_TRUE(seen.contains(Genotype::heterozygous) ||
                    (seen.contains(Genotype::homozygous0) && seen.contains(Genotype::homozygous1)));
    }
}

TEST(Simulate, SettingsOutOfRangeAreRejected) {
    const auto refuses = [](auto change) {
        Settings settings = small_settings();
        change(settings);
        EXPECT_THROW(simulate(settings), std::invalid_argument);
    };
    refuses([](Settings& s) { s.individuals = 0; });
    refuses([](Settings& s) { s.panel_individuals = -1; });
    refuses([](Settings& s) { s.first_position = 0; });
    refuses([](Settings& s) { s.megabases = 0; });
    refuses([](Settings& s) { s.megabases = 5'000; });
    refuses([](Settings& s) { s.density = std::nan(""); });
    refuses([](Settings& s) { s.density = 0.1; });
    refuses([](Settings& s) { s.missing_rate = 1.5; });
    refuses([](Settings& s) { s.error_rate = -0.1; });
    refuses([](Settings& s) { s.extra_in_panel_rate = 11; });
}

TEST(Simulate, OneIndividualIsEnough) {
    Settings settings = small_settings();
    settings.individuals = 1;
    settings.panel_individuals = 20;
    const Cohort cohort = simulate(settings);
    for (std::size_t row = 0; row < cohort.loci.size(); ++row) EXPECT_EQ(carriers(cohort, row, 0, 2), 1);
}

}  // namespace
