#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "containers/snp_set.h"
#include "containers/variant_blocks.h"
#include "objects/chaplotype.h"
#include "readers/filter_reader.h"
#include "utils/streams.h"

/// A reference panel in Impute2 format, aligned to a study: each line of the legend is matched to a study
/// variant by position and alleles. A variant may be matched by several lines; of two alike variants at one
/// position only the first is ever matched.
class panel_source {
  public:
    /// Reads SAMPLE and LEGEND, and marks the variants of the study that have a match (snp::in_ref).
    panel_source(const std::string& legend, const std::string& sample, const filter_reader& filter,
                 snp_set& study);

    /// Opens HAPS, which has one line for each of the legend.
    void open(const std::string& haps);
    /// Replaces the content of the block by the next variants that the study has: 64, or all that are left,
    /// with the alleles of the haplotypes that are kept. `idx` of a variant is that of the study's variant,
    /// `is_turned` says that its alleles are in the other order there. False when none was left.
    bool read(haplotype_block& block);

    int n_haplotypes() const { return n_kept; }
    int n_lines() const { return static_cast<int>(lines.size()); }

  private:
    /// What a line of the legend matches: the idx of a study variant or -1, and whether its alleles are in
    /// the other order there.
    struct legend_line {
        int target;
        bool is_turned;
    };

    void read_sample(const std::string& sample, const filter_reader& filter);
    void read_legend(const std::string& legend);
    legend_line match(int position, const std::string& a0, const std::string& a1);
    void take_row(haplotype_block& block);
    void finish();

    snp_set& study;
    std::vector<bool> keeps_column;  // one entry a column of HAPS
    int n_kept = 0;                  // columns
    std::vector<legend_line> lines;
    ifile stream;
    std::string text;
    std::vector<std::string_view> fields;
    std::size_t row = 0;  // next line of HAPS
    bool is_finished = false;
};

/// All haplotypes of a panel that was opened, over the variants of the study and in its order of alleles.
/// They are as long as the legend: the bits behind the study's variants stay 0.
std::vector<chaplotype> read_haplotypes(panel_source& panel);

/// The variants of a study that no line of the legend matches.
std::vector<const snp*> absent_variants(const snp_set& study);
