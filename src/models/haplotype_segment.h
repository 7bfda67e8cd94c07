#pragma once

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "models/column_kernels.h"
#include "models/hmm_parameters.h"
#include "objects/chaplotype.h"
#include "objects/genotype_graph.h"

/// How much the copying model has computed, for measuring how well a run uses the machine.
struct model_work {
    /// Rows of columns, K a locus and pass, by number of candidates.
    std::array<long, column_kernels::LANES + 1> rows{};
    /// Rows of pair sums, K a boundary, by numbers of candidates on the left and on the right.
    std::array<std::array<long, column_kernels::LANES + 1>, column_kernels::LANES + 1> pair_rows{};

    model_work& operator+=(const model_work& other);
};

/// Working memory of the copying model. It lives with a worker and grows to the largest job, so that a job
/// allocates nothing.
struct segment_buffers {
    std::vector<column_kernels::lanes>
        forward;  // K rows: the forward column in hand, replaced locus by locus
    std::vector<column_kernels::lanes> backward;   // the same of the backward pass
    std::vector<column_kernels::lanes> alpha;      // K rows a segment: the forward column at its last locus
    std::vector<column_kernels::lanes> beta;       // K rows a segment: the backward column at its first locus
    std::vector<column_kernels::lanes> alpha_sum;  // one a segment: the sums of alpha
    std::vector<std::uint64_t> words;              // 64 alleles of each conditioning haplotype
    std::vector<unsigned char> alleles;     // K a locus and some to spare: of the conditioning haplotypes
    std::vector<unsigned char> candidates;  // one a locus: bit c is the allele of candidate c
    std::vector<double> group_prob;         // of one transition group
    // Emissions where the candidates carry these alleles, bit c being that of candidate c; and what for.
    std::vector<column_kernels::emissions> emission;
    std::pair<double, double> emission_kind;
    model_work work;  // of all jobs so far
};

/// Runs the copying model (Li and Stephens 2003) of one individual over a run of consecutive graph segments,
/// conditioned on a list of K haplotypes of others, and writes the transition probabilities of the groups
/// within the run.
///
/// The model is haploid. A hidden state at a locus is a pair (candidate c of the segment in hand,
/// conditioning haplotype k), and the data are the candidate's own alleles:
///
///     segment s - 1      |      segment s          Inside a segment c stays and only k moves; at a boundary
///     c: 0 0 0 0 0 0 0 --+-> 0 0 0 0 0 0 0 0       every candidate on the left flows into every candidate
///        1 1 1 1 1 1 1 --+-> 1 1 1 1 1 1 1 1       on the right. k may jump at every interval.
///
/// The probability of a transition, which moves two chromosomes, is the product of its two haploid ones.
///
/// A column holds the values of all states of one locus (see column_kernels). One column rolls from locus to
/// locus, and those at segment boundaries are kept, so memory grows with the number of segments.
class haplotype_segment {
  public:
    /// The run covers the segments and loci of `range`. `idx` lists the conditioning haplotypes in `H`. All
    /// is borrowed.
    haplotype_segment(const std::vector<chaplotype>& H, const std::vector<int>& idx,
                      const segment_range& range, segment_buffers& buffers);

    /// Runs both passes and writes G->trans_prob; meant to be called once. Returns the number of groups
    /// whose products underflowed and that took sums in their place. Throws myException when a group has no
    /// mass at all or its mass is NaN.
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
    /// Bytes from the alleles of one locus to those of the next: whole registers are quicker to fill.
    int stride() const { return (K() + 31) & ~31; }
    column_kernels::lanes* stored(std::vector<column_kernels::lanes>& columns, int s) {
        return columns.data() + static_cast<std::ptrdiff_t>(s - segment_first) * K();
    }
    void unpack_haplotypes();
    void unpack_candidates(const genotype_graph& G);
    void prepare_emissions(const hmm_parameters& M);
    void prepare(const hmm_parameters& M, const genotype_graph& G);
    void count_work(const genotype_graph& G) const;
    // A pass goes up (DIRECTION 1) or down (-1).
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

    void set_end_group(genotype_graph* G, int g, const column_kernels::lanes& mass, int n_candidates,
                       int shift);
    int set_inner_group(const hmm_parameters& M, genotype_graph* G, int s, int locus);

    const column_kernels::kernel_set& kernel;
};
