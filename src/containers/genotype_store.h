#pragma once

#include <string>
#include <vector>

#include "containers/snp_set.h"
#include "containers/variant_blocks.h"
#include "objects/chaplotype.h"

/// The genotypes of the study, individual by individual.
///
/// A genotype is the triple (missing, allele_a, allele_b), bit 0 of an allele being a0 of its variant:
///   (0, 0, 0) homozygous a0    (0, 0, 1) heterozygous
///   (0, 1, 1) homozygous a1    (1, 0, 0) missing
/// so a missing genotype looks homozygous to code that doesn't look at `missing`.
class genotype_store {
  public:
    genotype_store() = default;
    /// Of these individuals, without any variant.
    explicit genotype_store(std::vector<std::string> individuals);

    int n_individuals() const { return static_cast<int>(ind_ids.size()); }
    /// Makes room for `n` variants.
    void reserve(int n);
    /// Takes over the variants of a block with their genotypes. All blocks but the last must be full.
    void append(genotype_block&& block);
    /// Makes all genotypes of variant `v` homozygous for a0. Returns how many were missing.
    int resetSnp(int v);

    snp_set snps;
    std::vector<std::string> ind_ids;
    // Individual, then variant.
    std::vector<chaplotype> allele_a;
    std::vector<chaplotype> allele_b;
    std::vector<chaplotype> missing;
};
