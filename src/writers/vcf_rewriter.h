#pragma once

#include <memory>
#include <string>
#include <vector>

#include "vcf/vcf_file.h"
#include "vcf/vcf_output_file.h"
#include "writers/haplotype_writer.h"

/// What a result in VCF or BCF has.
struct vcf_content {
    bool keeps_missing = false;    // missing genotypes stay missing
    bool keeps_unphased = false;   // records that took no part stay, unphased
    std::string header_line = {};  // "##..." with the version of the program; none if empty
};

/// Writes the records of the VCF or BCF file that the study was read from, with phased genotypes. Everything
/// else in them and in the header stays as it is, but AC, AN and AF follow the genotypes. A haploid genotype
/// stays haploid. One with two alleles that are not the most frequent one of more than two keeps its alleles,
/// unphased.
class vcf_rewriter : public result_sink {
  public:
    /// `phased` has who is haploid where.
    vcf_rewriter(const vcf_output_settings& settings, vcf_content chosen, vcf_file& input,
                 const genhap_set& phased);

    void begin(const std::vector<std::string>& individuals) override;
    void write(const haplotype_block& block) override;
    void close() override;
    std::string publish() override { return output->publish(); }
    std::string keep() override { return output->keep(); }

  private:
    void select_individuals(const std::vector<std::string>& individuals);
    bool next_record();
    void set_genotypes(std::span<const std::int32_t> all, bool changes_counts);
    void write_unphased();
    void write_phased(const snp& variant, const std::vector<std::uint64_t>& words, int j);

    vcf_output_settings settings;
    vcf_content content;
    vcf_file& file;
    const genhap_set& set;
    hts::header_handle head;         // of the output
    std::vector<int> individual_at;  // for each individual of the output, its number in the input
    bool has_all_individuals = true;
    std::unique_ptr<vcf_output_file> output;
    hts::gt_values values;
    std::vector<std::int32_t> genotypes;
    long n_left_out = 0, n_filled_in = 0;
};
