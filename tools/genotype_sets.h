#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace evaluation {

/// A biallelic variant as given in a file.
struct Site {
    std::int64_t position = 0;  ///< bp
    std::string allele0;
    std::string allele1;
};

/// Phased haplotypes.
struct PhasedSet {
    std::vector<std::string> people;  ///< ID_2 of the SAMPLE file
    std::vector<Site> sites;
    /// Sites by haplotypes, true for allele 1; person i has columns 2 i and 2 i + 1.
    std::vector<std::vector<bool>> alleles;
};

/// Unphased genotypes, as copies of allele 1 or `not_called`.
struct CalledSet {
    static constexpr std::int8_t not_called = -1;

    std::vector<std::string> people;
    std::vector<Site> sites;
    std::vector<std::vector<std::int8_t>> calls;  ///< sites by people
};

/// What is known about the truth of a genotype.
enum class Knowledge : char {
    phase_known = '1',    ///< heterozygous, and the digits give the phase
    phase_unknown = '0',  ///< heterozygous, but the digits do not give the phase
    homozygous = '.',
    nothing = 'm',  ///< missing or contradicted by relatives
};

/// Knowledge, sites by people.
using PhaseMask = std::vector<std::string>;

/// Index of the variants of a set, for sets in any order. Two variants are the same if they have the same
/// position and the same two alleles, in either order.
class SiteIndex {
  public:
    explicit SiteIndex(const std::vector<Site>& sites);

    static constexpr int not_found = -1;
    struct Match {
        int index = not_found;
        bool swapped = false;  ///< allele 0 of one is allele 1 of the other
    };
    Match find(const Site& site) const;

  private:
    const std::vector<Site>& sites_;
    std::multimap<std::int64_t, int> by_position_;
};

/// All readers throw std::runtime_error with the file and the line if a file is missing or malformed. Files
/// whose names end in .gz are decompressed.

/// Reads HAPS and SAMPLE.
PhasedSet read_phased(const std::string& haps, const std::string& sample);

/// Reads PREFIX.bed, PREFIX.bim and PREFIX.fam; allele 0 is the one in field 5 of the BIM file.
CalledSet read_plink(const std::string& prefix);

/// Reads GEN and SAMPLE. A genotype is called if its probability is at least `threshold`, which must be above
/// 0.5.
CalledSet read_gen(const std::string& gen, const std::string& sample, double threshold);

/// Reads the mask of a truth: one line `id position states` per site, with one state per person.
PhaseMask read_mask(const std::string& path, const PhasedSet& truth);

/// Reads ids, one per line.
std::vector<std::string> read_ids(const std::string& path);

}  // namespace evaluation
