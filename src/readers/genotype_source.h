#pragma once

#include <string>
#include <vector>

#include "containers/genotype_store.h"
#include "containers/variant_blocks.h"

/// Interface of the readers of unphased genotypes, one class per file format. Yields the kept variants in
/// order, with the genotypes of the kept individuals.
class genotype_source {
  public:
    genotype_source() = default;
    virtual ~genotype_source() = default;
    genotype_source(const genotype_source&) = delete;
    genotype_source& operator=(const genotype_source&) = delete;

    /// Identifiers of the kept individuals, in the order of the input.
    virtual const std::vector<std::string>& individuals() const = 0;
    /// Number of variants, if it is known before they are read, else 0.
    virtual int n_expected() const { return 0; }
    /// Replaces the content of the block, which must have one word for each of these individuals, by the next
    /// 64 variants or all that are left. Returns false if none was left; then the whole file has been
    /// checked.
    virtual bool read(genotype_block& block) = 0;
};

/// Reads all variants of a source, and indexes them.
genotype_store read_study(genotype_source& source);
