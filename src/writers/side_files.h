#pragma once

#include <string>
#include <vector>

#include "containers/genotype_counts.h"
#include "containers/genotype_store.h"

/// Files written beside the log. `prefix` is the name of the log without its extension.

/// `.ind.mm`: missing genotypes of each individual, and `.snp.mm`: copies of each allele at each variant.
void write_counts(const genotype_store& store, const genotype_counts& counts, const std::string& prefix);

/// Study variants absent from the panel: `.snp.strand` with their alleles, and `.snp.strand.exclude` with
/// their positions alone.
void write_absent_variants(const std::vector<const snp*>& absent, const std::string& prefix);
