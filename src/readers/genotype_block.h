#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// Genotypes of one individual at up to 64 variants in a row: bit j belongs to variant j.
struct genotype_word {
    std::uint64_t allele_a = 0;
    std::uint64_t allele_b = 0;
    std::uint64_t missing = 0;

    bool operator==(const genotype_word&) const = default;
};

/// Up to 64 variants in a row of all individuals, the form in which readers hand genotypes to the store:
/// files go from variant to variant, the store from individual to individual, and a block turns one into the
/// other.
struct genotype_block {
    static constexpr int CAPACITY = 64;

    explicit genotype_block(std::size_t n_individuals) : words(n_individuals) {}

    std::vector<genotype_word> words;  // one an individual
    int n_variants = 0;
};

/// Decodes 64 rows of a BED file, one a variant, into words, one an individual. Row r starts at
/// `rows` + r * `stride`; rows of variants that there are not hold zeros. Two bits a genotype, the lowest
/// first: 0 homozygous for the first allele, 1 missing, 2 heterozygous, 3 homozygous for the second.
void decode_bed(const unsigned char* rows, std::ptrdiff_t stride, int n_individuals, genotype_word* words);
/// The same, genotype by genotype.
void decode_bed_plain(const unsigned char* rows, std::ptrdiff_t stride, int n_individuals,
                      genotype_word* words);
