#pragma once

#include <string>
#include <vector>

#include "containers/snp_set.h"
#include "containers/variant_blocks.h"
#include "objects/chaplotype.h"

/// The genotypes of the study, stored per individual.
///
/// A genotype is the triple (missing, allele_a, allele_b). An allele of 0 is a0 of the variant:
///   (0, 0, 0) homozygous a0    (0, 0, 1) heterozygous
///   (0, 1, 1) homozygous a1    (1, 0, 0) missing
/// Code that ignores `missing` sees a missing genotype as homozygous a0.
class genotype_store {
  public:
    genotype_store() = default;
    /// Starts without variants.
    explicit genotype_store(std::vector<std::string> individuals);

    int n_individuals() const { return static_cast<int>(ind_ids.size()); }
    /// Reserves memory for `n` variants.
    void reserve(int n);
    /// Appends the variants of a block with their genotypes. Bits past its last variant must be 0.
    void append(genotype_block& block);
    /// Makes all genotypes of variant `v` homozygous for a0. Returns how many were missing.
    int resetSnp(int v);
    /// Marks all genotypes of an individual as haploid. Heterozygous ones become missing; returns how many.
    int makeHaploid(int ind);
    /// Settles which missing genotypes are haploid, since those of haploid and of diploid individuals are
    /// written as one dot or as two. They follow the known genotypes before and behind; where these differ,
    /// the mark stays as it is.
    void settleMissingHaploid();
    /// Removes the variants for which `keeps` is false.
    void keepVariants(const std::vector<bool>& keeps);

    snp_set snps;
    std::vector<std::string> ind_ids;
    // Indexed by individual, then by variant.
    std::vector<chaplotype> allele_a;
    std::vector<chaplotype> allele_b;
    std::vector<chaplotype> missing;
    std::vector<chaplotype> haploid;  // who has one copy of the variant; empty if nobody has

  private:
    std::vector<std::vector<chaplotype>*> planes();
};
