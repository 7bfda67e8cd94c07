#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "models/copying_rates.h"
#include "models/row_kernels.h"
#include "objects/chaplotype.h"
#include "objects/genotype_graph.h"

/// Which row of a column stands for each candidate. Candidates that had the same alleles at all loci that a
/// pass has seen in a segment have the same values, so one row is enough for them.
struct candidate_rows {
    std::array<unsigned char, row_kernels::MOST_ROWS> row_of{};
    int n_rows = 1;
};

/// Working memory of the copying model in single precision. Each worker has one, which grows to its largest
/// job.
struct float_buffers {
    std::vector<row_kernels::value_block> alpha;  // for each segment, the forward column at its last locus
    std::vector<row_kernels::value_block> beta;   // for each segment, the backward column at its first locus
    std::vector<row_kernels::row_scales> alpha_scales, beta_scales;
    std::vector<candidate_rows> alpha_rows, beta_rows;
    std::vector<row_kernels::allele_block> alleles;  // of the conditioning haplotypes, locus by locus
    std::vector<unsigned char> candidates;           // one per locus: bit c is the allele of candidate c
    std::vector<unsigned char> ahead, back;  // for each pass, one per locus: bit r is the allele of row r
    std::vector<row_kernels::value_block>
        before;                      // values of the haplotypes before the first step of a segment
    std::vector<double> group_prob;  // weights of the transitions of one group
};

/// The copying model of haplotype_segment in single precision, which is faster: the same hidden states and
/// groups, on columns of row_kernels. The results differ in the last digits, so neither can replace the
/// other.
class float_segment {
  public:
    /// The run covers the segments and loci of `range`. `idx` lists the indexes of the conditioning
    /// haplotypes in `H`, at least one. All arguments are held by reference, except `range`.
    float_segment(const std::vector<chaplotype>& H, const std::vector<int>& idx, const segment_range& range,
                  const copying_rates& rates, float_buffers& buffers);

    /// Runs both passes and sets G.trans_prob of the groups within the range. Call it once. Returns the
    /// number of groups whose products underflowed and were replaced by sums. Throws myException if the mass
    /// of a group underflows or is NaN.
    int expectation(genotype_graph& G);

  private:
    struct pass;

    void unpack_haplotypes();
    void unpack_candidates(const genotype_graph& G);
    // DIRECTION is 1 for the forward pass and -1 for the backward pass.
    template <int DIRECTION>
    pass start();
    template <int DIRECTION>
    void flow_across(const pass& at, const genotype_graph& G);
    template <int DIRECTION>
    void enter(pass& at, const genotype_graph& G);
    template <int DIRECTION>
    void plan_rows(pass& at, const genotype_graph& G);
    void split_rows(pass& at) const;
    template <int DIRECTION>
    void proceed(pass& at, const genotype_graph& G);
    void both_passes(const genotype_graph& G);
    int set_inner_group(genotype_graph& G, int s, int locus);

    template <int DIRECTION>
    float* column(int s) {
        const std::size_t size = static_cast<std::size_t>(row_kernels::MOST_ROWS) * n_blocks;
        return (DIRECTION > 0 ? buffers.alpha : buffers.beta)[(s - range.first_segment) * size].value;
    }
    template <int DIRECTION>
    row_kernels::row_scales& scales(int s) {
        return (DIRECTION > 0 ? buffers.alpha_scales : buffers.beta_scales)[s - range.first_segment];
    }
    template <int DIRECTION>
    candidate_rows& rows(int s) {
        return (DIRECTION > 0 ? buffers.alpha_rows : buffers.beta_rows)[s - range.first_segment];
    }
    row_kernels::allele_block* alleles_at(int locus) {
        return buffers.alleles.data() + static_cast<std::ptrdiff_t>(locus - range.first_locus) * n_blocks;
    }

    const std::vector<chaplotype>& H;
    const std::vector<int>& idx;
    const copying_rates& rates;
    float_buffers& buffers;
    const row_kernels::kernel_set& kernel;
    segment_range range;
    int K;         // conditioning haplotypes
    int n_blocks;  // of a row
};
