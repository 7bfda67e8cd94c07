#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "containers/snp_set.h"

/// How a variant is written in a VCF.
struct vcf_alleles {
    std::string reference, alternative;  // the alternative is empty if the variant has one allele
    bool is_turned = false;              // whether a0 of the variant is the alternative allele
    bool is_written = true;
};

/// The reference alleles of a study that was read from a format without them.
struct reference_alleles {
    std::string chromosome;   // as the VCF names it
    std::int64_t length = 0;  // of the chromosome in bp, 0 if unknown
    std::vector<vcf_alleles> variants;
};

/// Finds the reference allele of each variant: that of a FASTA file, which has an index (.fai), or a0 without
/// such a file (empty name). Variants of which neither allele is in the reference are not written, nor are
/// those whose alleles are no bases; they are listed in `prefix`.vcf.exclude, with the reason. Ends the run
/// if the study does not have one chromosome with a name, if the FASTA lacks it, and if a fifth of the
/// variants do not match: then it is that of another assembly, or the alleles are those of the other strand.
reference_alleles find_reference_alleles(const snp_set& study, const std::string& fasta,
                                         const std::string& prefix);
