#pragma once

#include <string>
#include <vector>

#include "readers/filter_reader.h"
#include "readers/haplotype_source.h"
#include "vcf/vcf_file.h"

/// A reference panel in a phased VCF or BCF file, aligned to a study: each record is matched to a study
/// variant by position and alleles, of equal ones the first. If one of the two has more than two alleles, the
/// record needs all those of the variant, and no haplotype may have another one.
class vcf_panel : public haplotype_source {
  public:
    /// Reads the header, and marks the variants of the study that have a match (snp::in_ref) as they are
    /// read. `study_individuals` are the identifiers that nobody in the panel should have.
    vcf_panel(vcf_file& input, filter_reader& filter, const std::vector<std::string>& study_individuals,
              snp_set& study_variants);

    int n_haplotypes() const override { return 2 * static_cast<int>(kept.size()); }
    int n_loci() const override { return study.size(); }
    bool read(haplotype_block& block) override;

  private:
    void read_alleles();
    void take_record(haplotype_block& block);
    bool matches(const snp& candidate, bool& is_turned);

    vcf_file& file;
    snp_set& study;
    std::vector<int> kept;  // numbers of the individuals in the file
    hts::gt_values values;
    std::vector<int> alleles;     // of each haplotype in the last record
    std::vector<bool> is_second;  // by allele of the last record: whether it is not the variant's first one
    long n_matched = 0;
    bool is_at_end = false;
};
