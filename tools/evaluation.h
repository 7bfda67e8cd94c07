#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/genotype_sets.h"

namespace evaluation {

/// Counts of what was compared and what was wrong; of one person, or summed over people.
struct Score {
    std::int64_t heterozygotes = 0;  ///< heterozygous sites scored: phase known, genotype estimated right
    std::int64_t pairs = 0;          ///< consecutive ones of these
    std::int64_t switches = 0;       ///< pairs whose phase differs from the truth
    std::int64_t span = 0;           ///< bp from the first to the last heterozygous site scored
    std::int64_t stretches = 0;      ///< runs of heterozygous sites scored without a switch between them
    std::int64_t called = 0;         ///< genotypes compared: those given, or else those of the truth
    std::int64_t mismatches = 0;     ///< of these, estimated otherwise
    std::int64_t filled = 0;         ///< missing genotypes that the truth knows
    std::int64_t filled_wrong = 0;   ///< of these, estimated wrong

    Score& operator+=(const Score& other);

    /// Ratios are 0 when there is nothing to divide by.
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
    std::int64_t variants = 0;        ///< compared
    std::vector<PersonScore> people;  ///< in the order of the truth
    Score total() const;
};

/// What the estimate is judged by.
struct Reference {
    const PhasedSet& truth;
    const CalledSet* given = nullptr;  ///< the genotypes that were phased; without them, the truth's count
    const PhaseMask* mask = nullptr;   ///< without it, everything about the truth is known
    const std::vector<std::string>* people = nullptr;  ///< whom to compare; without it, everyone in both
};

/// Compares an estimate with the truth at the variants, and for the people, that they have in common.
/// Throws std::runtime_error if there are none, if ids are not unique, if the sites of a set are not in
/// ascending order of position, or if the truth lacks the phase that its mask promises.
Report evaluate(const Reference& reference, const PhasedSet& estimate);

}  // namespace evaluation
