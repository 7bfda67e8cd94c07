#pragma once

#include <vector>

#include "containers/genotype_store.h"

/// Counts of missing genotypes and of alleles.
struct genotype_counts {
    std::vector<int> ind_missing;  // missing genotypes of each individual
    std::vector<int> snp_missing;  // missing genotypes of each variant
    std::vector<int> count_a0;     // copies of a0 at each variant, without missing genotypes
    std::vector<int> count_a1;
};

genotype_counts count_genotypes(const genotype_store& store);
