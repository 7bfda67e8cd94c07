#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "containers/snp.h"

/// Readers yield and writers take variants in blocks of up to 64. Files are ordered by variant and the data
/// of the program by individual, so a block packs the variants of one individual, or of one haplotype, into a
/// word: bit j belongs to variant j.
constexpr int BLOCK_VARIANTS = 64;

/// Genotypes of one individual at the variants of a block, coded as in genotype_store.
struct genotype_word {
    std::uint64_t allele_a = 0;
    std::uint64_t allele_b = 0;
    std::uint64_t missing = 0;

    bool operator==(const genotype_word&) const = default;
};

/// Variants with the genotypes of all individuals.
struct genotype_block {
    explicit genotype_block(std::size_t n_individuals) : words(n_individuals) {}

    bool is_full() const { return variants.size() == BLOCK_VARIANTS; }
    void clear() {
        variants.clear();
        words.assign(words.size(), {});
        haploid.clear();
    }

    std::vector<snp> variants;
    std::vector<genotype_word> words;  // one per individual
    // One per individual: whether it has one allele only, or one missing one. Empty if nobody has.
    std::vector<std::uint64_t> haploid;
};

/// Variants with the alleles of all haplotypes.
struct haplotype_block {
    std::vector<snp> variants;
    std::vector<std::uint64_t> words;  // one per haplotype
};
