#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "readers/filter_reader.h"
#include "readers/haplotype_source.h"
#include "utils/streams.h"

/// A reference panel in Impute2 format, aligned to a study: each line of the legend is matched to a study
/// variant by position and alleles. Several lines may match the same variant. Of two study variants with the
/// same position and alleles, only the first is matched.
class panel_source : public haplotype_source {
  public:
    /// Reads SAMPLE and LEGEND, and marks the variants of the study that have a match (snp::in_ref).
    /// `study_individuals` are the identifiers that no individual of the panel should have.
    panel_source(const std::string& legend, const std::string& sample, filter_reader& filter,
                 const std::vector<std::string>& study_individuals, snp_set& study);

    /// Opens HAPS, which has one line for each line of the legend.
    void open(const std::string& haps);
    bool read(haplotype_block& block) override;

    int n_haplotypes() const override { return n_kept; }
    /// As many as the legend has lines. If it has fewer than the study, some variants are absent.
    int n_loci() const override { return std::max(static_cast<int>(lines.size()), study.size()); }

  private:
    /// The match of a legend line: idx of the study variant or -1, and whether the study has its alleles in
    /// the other order.
    struct legend_line {
        int target;
        bool is_turned;
    };

    void read_sample(const std::string& sample, filter_reader& filter,
                     const std::vector<std::string>& study_individuals);
    void read_legend(const std::string& legend);
    legend_line match(int position, const std::string& a0, const std::string& a1);
    void take_row(haplotype_block& block);
    void check_alleles() const;
    void finish();

    snp_set& study;
    std::vector<bool> keeps_column;  // one per column of HAPS
    int n_kept = 0;                  // columns
    std::vector<legend_line> lines;
    ifile stream;
    std::string text;
    std::vector<std::string_view> fields;
    std::size_t row = 0;  // next line of HAPS
    bool is_finished = false;
};
