#pragma once

#include "containers/genotype_counts.h"
#include "containers/genotype_store.h"

/// Reports high rates of missing genotypes. Individuals or variants without any genotype end the run; with
/// `tolerate_empty` they are only reported.
void check_missing(const genotype_counts& counts, bool tolerate_empty = false);

/// Refuses individuals and variants without any genotype, with the names of the first ones. A run that is
/// not lenient also names those with high rates of missing genotypes.
void name_missing(const genotype_store& store, const genotype_counts& counts);

/// What repair_monomorphic found and filled in.
struct monomorphic_repairs {
    int n_variants = 0;
    int n_genotypes = 0;  // missing ones that were filled in
};

/// Repairs monomorphic variants: the observed allele becomes a0, and all genotypes, missing ones included,
/// become homozygous for it. Reference haplotypes keep their bits even if the variant is flipped.
monomorphic_repairs repair_monomorphic(genotype_store& store, const genotype_counts& counts);

/// Reports the repairs, and the number of variants of which one allele was seen once.
void report_variants(const monomorphic_repairs& repairs, const genotype_counts& counts);
