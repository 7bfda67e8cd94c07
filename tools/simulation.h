#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/bit_matrix.h"
#include "tools/recombination_map.h"

namespace simulation {

/// How variants are ascertained.
enum class Ascertainment {
    array,     ///< found because two haplotypes drawn at random differ: mostly common variants
    sequence,  ///< every mutation is equally likely: most variants are rare
};

/// What to simulate. Rates are probabilities from 0 to 1.
struct Settings {
    std::uint64_t seed = 1;
    int individuals = 300;
    int panel_individuals = 0;  ///< more individuals of the same population, for a reference panel
    std::string chromosome = "20";
    int first_position = 1'000'001;  ///< bp, first base of the region
    double megabases = 4;            ///< length of the region
    double density = 250;            ///< variants of the study per Mb
    Ascertainment ascertainment = Ascertainment::array;
    double missing_rate = 0;          ///< of genotypes of the study
    double error_rate = 0;            ///< of genotypes of the study, which then become one of the two others
    double indel_rate = 0.05;         ///< of variants
    double absent_in_panel_rate = 0;  ///< of variants of the study
    double extra_in_panel_rate = 0;   ///< variants only in the panel, per variant of the study
};

/// A biallelic variant.
struct Locus {
    std::string id;
    int position = 0;  ///< bp
    std::string allele0;
    std::string allele1;
    bool in_study = true;
    bool in_panel = false;
};

/// A genotype as observed: copies of allele 1.
enum class Genotype : std::uint8_t { homozygous0 = 0, heterozygous = 1, homozygous1 = 2, missing = 3 };

/// Haplotypes of one chromosome region in a study and, optionally, a reference panel of the same population.
struct Cohort {
    Settings settings;
    RecombinationMap map;
    std::vector<Locus> loci;  ///< in ascending order of position
    /// Loci by haplotypes, true for allele 1. Individual i, counting the study first and then the panel, has
    /// columns 2 i and 2 i + 1.
    BitMatrix alleles;
    std::vector<std::string> study_ids;
    std::vector<std::string> panel_ids;
};

/// Simulates a cohort; the same settings give the same cohort on every machine. Every locus is polymorphic
/// among the haplotypes of the study, or among those of the panel if it is only in the panel. Throws
/// std::invalid_argument if a setting is out of range.
Cohort simulate(const Settings& settings);

/// The genotypes of the study at one locus after errors and missing calls; the same on every call. Genotypes
/// are not made missing or wrong if that would leave a single allele at the locus.
std::vector<Genotype> observed_genotypes(const Cohort& cohort, std::size_t locus);

}  // namespace simulation
