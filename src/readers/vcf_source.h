#pragma once

#include <string>
#include <vector>

#include "readers/genotype_source.h"
#include "readers/study_intake.h"
#include "vcf/genotype_calls.h"
#include "vcf/vcf_file.h"

/// The study in a VCF or BCF file. A variant has the reference allele as its first one; a record with more
/// than two alleles has its most frequent one, and as the second all others, joined by commas. Left out are
/// records without genotypes, with missing ones only, and those that the filter drops.
class vcf_source : public genotype_source {
  public:
    /// Reads the header. The file has to stay as it is until the run ends.
    vcf_source(vcf_file& input, filter_reader& filter);

    const std::vector<std::string>& individuals() const override { return ids; }
    bool read(genotype_block& block) override;

  private:
    void take_record(genotype_block& block);
    snp variant_of_record(const allele_classes& classes);
    void take_haploid(const std::vector<int>& haploid, genotype_block& block);
    void decode_rows(genotype_block& block);
    void print_summary() const;

    vcf_file& file;
    study_intake intake;
    std::vector<std::string> ids;  // those kept
    std::vector<int> ind_at;       // one per individual of the file: index among those kept, or -1
    call_decoder decoder;
    std::ptrdiff_t row_bytes;
    std::vector<unsigned char> rows;   // two bits for each individual of the file, as in BED
    std::vector<genotype_word> words;  // one for each of them
    // Numbers of records and genotypes, for the summary.
    long n_kept = 0, n_filtered = 0, n_without_calls = 0, n_without_field = 0, n_multiallelic = 0;
    long n_half_missing = 0, n_phased = 0, n_two_others = 0, n_haploid = 0;
    bool is_at_end = false;
};
