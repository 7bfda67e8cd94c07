#pragma once

#include <string>
#include <vector>

#include "containers/genotype_store.h"
#include "containers/variant_blocks.h"

/// A file format of unphased genotypes: yields the variants that are kept, in order, with the genotypes of
/// the individuals that are kept. A reader of a new format is a class of its own.
class genotype_source {
  public:
    genotype_source() = default;
    virtual ~genotype_source() = default;
    genotype_source(const genotype_source&) = delete;
    genotype_source& operator=(const genotype_source&) = delete;

    /// Identifiers of the individuals that are kept, in the order of the input.
    virtual const std::vector<std::string>& individuals() const = 0;
    /// Number of variants to come, where it is known before they are read, else 0.
    virtual int n_expected() const { return 0; }
    /// Replaces the content of the block, which is one of these individuals, by the next variants: 64, or all
    /// that are left. False when none was left; the whole file has been checked then.
    virtual bool read(genotype_block& block) = 0;
};

/// Reads all of a source. The variants are indexed.
genotype_store read_study(genotype_source& source);
