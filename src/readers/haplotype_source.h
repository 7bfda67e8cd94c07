#pragma once

#include <vector>

#include "containers/snp_set.h"
#include "containers/variant_blocks.h"
#include "objects/chaplotype.h"

/// Interface of the readers of a reference panel, one class per file format. Yields the variants that the
/// study has.
class haplotype_source {
  public:
    haplotype_source() = default;
    virtual ~haplotype_source() = default;
    haplotype_source(const haplotype_source&) = delete;
    haplotype_source& operator=(const haplotype_source&) = delete;

    virtual int n_haplotypes() const = 0;
    /// Number of loci that a haplotype gets, at least those of the study.
    virtual int n_loci() const = 0;
    /// Replaces the content of the block by the next variants that the study has, 64 or all that are left,
    /// with the alleles of the haplotypes. `idx` of a variant is that of the study variant; `is_turned` is
    /// set if the study has its alleles in the other order. Returns false if none was left.
    virtual bool read(haplotype_block& block) = 0;
};

/// All haplotypes of a panel at the variants of the study, with its order of alleles; 0 past them.
std::vector<chaplotype> read_haplotypes(haplotype_source& panel);

/// The variants of a study that no variant of the panel matches.
std::vector<const snp*> absent_variants(const snp_set& study);
