#pragma once

#include "containers/genotype_counts.h"
#include "containers/genotype_store.h"

/// Reports high rates of missing genotypes. Individuals or variants without any genotype end the run; with
/// `tolerate_empty` they are only reported.
void check_missing(const genotype_counts& counts, bool tolerate_empty = false);

/// Repairs monomorphic variants: the observed allele becomes a0, and all genotypes, missing ones included,
/// become homozygous for it. Reference haplotypes keep their bits even if the variant is flipped. Reports how
/// many variants and genotypes were changed, and the number of singletons.
void repair_monomorphic(genotype_store& store, const genotype_counts& counts);
