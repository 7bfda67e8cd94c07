#pragma once

#include <memory>
#include <string>
#include <vector>

#include "containers/snp_set.h"
#include "vcf/reference_alleles.h"
#include "vcf/vcf_output_file.h"
#include "writers/haplotype_writer.h"
#include "writers/vcf_rewriter.h"

/// Writes haplotypes as VCF or BCF for a study that was read from another format.
class vcf_sink : public result_sink {
  public:
    /// `reference` has the alleles of all variants. `phased` has who is haploid, `missing` the genotypes that
    /// stay missing, by individual; it may be empty.
    vcf_sink(const vcf_output_settings& settings, vcf_content chosen, const reference_alleles& reference,
             const genhap_set& phased, const std::vector<chaplotype>& missing);

    void begin(const std::vector<std::string>& individuals) override;
    void write(const haplotype_block& block) override;
    void close() override;
    std::string publish() override { return output->publish(); }
    std::string keep() override { return output->keep(); }

  private:
    void write_variant(const snp& variant, const std::vector<std::uint64_t>& words, int j);

    vcf_output_settings settings;
    vcf_content content;
    const reference_alleles& alleles;
    const genhap_set& set;
    const std::vector<chaplotype>& missing_at;
    std::unique_ptr<vcf_output_file> output;
    hts::record_handle record;
    std::vector<std::int32_t> genotypes;
};
