#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/genotype_sets.h"

namespace evaluation {

/// Counts of comparisons and errors, of one person or summed over people.
struct Score {
    std::int64_t heterozygotes = 0;  ///< heterozygous sites scored: phase known, genotype correct
    std::int64_t pairs = 0;          ///< pairs of consecutive such sites
    std::int64_t switches = 0;       ///< pairs whose phase differs from the truth
    std::int64_t span = 0;           ///< bp from the first to the last heterozygous site scored
    std::int64_t stretches = 0;      ///< runs of heterozygous sites scored without a switch between them
    std::int64_t called = 0;         ///< genotypes compared: the given ones, or else those of the truth
    std::int64_t mismatches = 0;     ///< of these, wrong in the estimate
    std::int64_t filled = 0;         ///< missing genotypes that are known in the truth
    std::int64_t filled_wrong = 0;   ///< of these, wrong in the estimate

    Score& operator+=(const Score& other);

    /// Ratios are 0 if the denominator is 0.
    double switch_error_rate() const;
    double filling_error_rate() const;
    double mean_bases_between_switches() const;  ///< mean length of a stretch in bp
    double mean_sites_between_switches() const;  ///< mean number of heterozygous sites in a stretch
};

struct PersonScore {
    std::string id;
    Score score;
};

struct Report {
    std::int64_t variants = 0;        ///< number of variants compared
    std::vector<PersonScore> people;  ///< in the order of the truth
    Score total() const;
};

/// The data against which the estimate is evaluated.
struct Reference {
    const PhasedSet& truth;
    const CalledSet* given = nullptr;  ///< the genotypes that were phased; null: those of the truth
    const PhaseMask* mask = nullptr;   ///< null: everything about the truth is known
    const std::vector<std::string>* people = nullptr;  ///< whom to compare; null: everyone in both
};

/// Compares an estimate with the truth at the variants, and for the people, that they have in common. Throws
/// std::runtime_error if there are none, if ids are not unique, if the sites of a set are not in ascending
/// order of position, or if the truth lacks a phase that its mask calls known.
Report evaluate(const Reference& reference, const PhasedSet& estimate);

}  // namespace evaluation
