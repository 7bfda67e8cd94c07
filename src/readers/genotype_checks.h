#pragma once

#include "containers/genotype_counts.h"
#include "containers/genotype_store.h"

/// Reports high rates of missing genotypes. Individuals or variants without any genotype end the run, unless
/// `tolerate_empty`, which only reports them.
void check_missing(const genotype_counts& counts, bool tolerate_empty = false);

/// Makes each variant whole where one allele is seen: that allele becomes a0, every genotype homozygous for
/// it, and missing ones are filled in. Reference haplotypes keep their bits at a variant that is turned so.
/// Reports how many were changed.
void repair_monomorphic(genotype_store& store, const genotype_counts& counts);
