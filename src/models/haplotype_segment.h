#pragma once

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "models/column_kernels.h"
#include "models/hmm_parameters.h"
#include "objects/chaplotype.h"
#include "objects/genotype_graph.h"

/// Amount of work done by the copying model, for benchmarks.
struct model_work {
    /// Rows of columns computed, K per locus and pass, by number of candidates.
    std::array<long, column_kernels::LANES + 1> rows{};
    /// Rows of pair sums computed, K per boundary, by numbers of candidates on the left and on the right.
    std::array<std::array<long, column_kernels::LANES + 1>, column_kernels::LANES + 1> pair_rows{};

    model_work& operator+=(const model_work& other);
};

/// Working memory of the copying model. Each worker has one, which grows to its largest job, so that most
/// jobs allocate nothing.
struct segment_buffers {
    std::vector<column_kernels::lanes>
        forward;  // K rows: the current forward column, overwritten locus by locus
    std::vector<column_kernels::lanes> backward;  // the same for the backward pass
    std::vector<column_kernels::lanes> alpha;     // K rows per segment: the forward column at its last locus
    std::vector<column_kernels::lanes> beta;  // K rows per segment: the backward column at its first locus
    std::vector<column_kernels::lanes> alpha_sum;  // one per segment: the sums of alpha
    std::vector<std::uint64_t> words;              // 64 alleles of each conditioning haplotype
    std::vector<unsigned char> alleles;            // of the conditioning haplotypes, K per locus and padding
    std::vector<unsigned char> candidates;         // one per locus: bit c is the allele of candidate c
    std::vector<double> group_prob;                // weights of the transitions of one group
    // Emissions by the alleles of the candidates (bit c for candidate c), and the match and mismatch
    // probabilities that they were computed from.
    std::vector<column_kernels::emissions> emission;
    std::pair<double, double> emission_kind;
    model_work work;  // of all jobs so far
};

/// Runs the copying model (Li and Stephens 2003) of one individual over a range of consecutive graph
/// segments, conditioned on K haplotypes of other individuals and the panel, and writes the transition
/// probabilities of the groups within the range.
///
/// The model is haploid. A hidden state at a locus is a pair (candidate c of the current segment,
/// conditioning haplotype k), and the observed data are the alleles of the candidate itself:
///
///     segment s - 1      |      segment s          Inside a segment c is fixed and k may jump. At a boundary
///     c: 0 0 0 0 0 0 0 --+-> 0 0 0 0 0 0 0 0       every candidate on the left flows into every candidate
///        1 1 1 1 1 1 1 --+-> 1 1 1 1 1 1 1 1       on the right, and k may jump as well.
///
/// A transition covers both chromosomes: its probability is the product of two haploid ones.
///
/// A column holds the values of all states of one locus (see column_kernels). A pass overwrites one column
/// from locus to locus and keeps only the columns at segment boundaries, so memory grows with the number of
/// segments.
class haplotype_segment {
  public:
    /// The run covers the segments and loci of `range`. `idx` lists the indexes of the conditioning
    /// haplotypes in `H`. `H`, `idx` and `buffers` are held by reference.
    haplotype_segment(const std::vector<chaplotype>& H, const std::vector<int>& idx,
                      const segment_range& range, segment_buffers& buffers);

    /// Runs both passes and writes G->trans_prob. Call it once. Returns the number of groups whose products
    /// underflowed and were replaced by sums. Throws myException if the mass of a group underflows or is NaN.
    int expectation(const hmm_parameters& M, genotype_graph* G);

    /// Fill alpha and alpha_sum, or beta and beta_sum.
    void forward(const hmm_parameters& M, const genotype_graph* G);
    void backward(const hmm_parameters& M, const genotype_graph* G);

    int segment_first;
    int segment_last;
    int locus_first;
    int locus_last;
    const std::vector<chaplotype>* H;
    const std::vector<int>* idx;
    segment_buffers& buffers;
    column_kernels::lanes beta_sum{};  // sums of the backward column at locus 0
    column_kernels::pair_matrix pair_prob{};

  private:
    struct pass;

    int K() const { return static_cast<int>(idx->size()); }
    /// Bytes from the alleles of one locus to those of the next: K, rounded up to fill whole registers.
    int stride() const { return (K() + 31) & ~31; }
    column_kernels::lanes* stored(std::vector<column_kernels::lanes>& columns, int s) {
        return columns.data() + static_cast<std::ptrdiff_t>(s - segment_first) * K();
    }
    void unpack_haplotypes();
    void unpack_candidates(const genotype_graph& G);
    void prepare_emissions(const hmm_parameters& M);
    void prepare(const hmm_parameters& M, const genotype_graph& G);
    void count_work(const genotype_graph& G) const;
    // DIRECTION is 1 for the forward pass and -1 for the backward pass.
    template <int DIRECTION>
    column_kernels::lanes* column_at(const pass& at);
    template <int DIRECTION>
    void begin(pass& at, const hmm_parameters& M, const genotype_graph& G);
    template <int DIRECTION>
    void advance(pass& at, const hmm_parameters& M, const genotype_graph& G);
    template <int DIRECTION>
    void run_pass(const hmm_parameters& M, const genotype_graph& G);
    void take(const pass& at) const;
    void both_passes(const hmm_parameters& M, const genotype_graph& G);
    unsigned char* alleles_at(int locus) const {
        return buffers.alleles.data() + static_cast<std::ptrdiff_t>(locus - (locus_first & ~7)) * stride();
    }

    int set_inner_group(const hmm_parameters& M, genotype_graph* G, int s, int locus);

    const column_kernels::kernel_set& kernel;
};
