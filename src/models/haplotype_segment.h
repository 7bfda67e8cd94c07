#pragma once

#include <array>
#include <vector>

#include "models/column_kernels.h"
#include "models/hmm_parameters.h"
#include "objects/chaplotype.h"
#include "objects/genotype_graph.h"

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
/// A column holds the values of all states of one locus (see column_kernels). Two columns roll from locus to
/// locus, and those at segment boundaries are kept, so memory grows with the number of segments.
class haplotype_segment {
  public:
    /// The run covers the segments `segment_first` to `segment_last` and thus the loci `locus_first` to
    /// `locus_last`, all inclusive. `idx` lists the conditioning haplotypes in `H`; both are borrowed.
    haplotype_segment(const std::vector<chaplotype>& H, const std::vector<int>& idx, int segment_first,
                      int segment_last, int locus_first, int locus_last);

    /// Runs both passes and writes G->trans_prob; meant to be called once. Returns the number of groups
    /// whose products underflowed and that took sums in their place. Throws myException when a group has no
    /// mass at all or its mass is no number.
    int expectation(const hmm_parameters& M, genotype_graph* G);

    /// Fill alpha, alpha_sum and beta, beta_sum.
    void forward(const hmm_parameters& M, const genotype_graph* G);
    void backward(const hmm_parameters& M, const genotype_graph* G);

    int segment_first;
    int segment_last;
    int locus_first;
    int locus_last;
    const std::vector<chaplotype>* H;
    const std::vector<int>* idx;

    std::vector<double> prob_odd;   // 8 * K: the column at loci whose distance from locus_first is odd
    std::vector<double> prob_even;  // 8 * K: the same at even distance
    column_kernels::lanes sum_odd{};
    column_kernels::lanes sum_even{};
    std::vector<double> alpha;  // 8 * K a segment: the forward column at its last locus
    std::vector<double> beta;   // 8 * K a segment: the backward column at its first locus, but for the first
    std::vector<column_kernels::lanes> alpha_sum;                          // one a segment
    column_kernels::lanes beta_sum{};                                      // of segment 0 at locus 0
    std::array<column_kernels::lanes, column_kernels::LANES> pair_prob{};  // left candidate, right candidate
    std::vector<double> group_prob;                                        // of one transition group

  private:
    int K() const { return static_cast<int>(idx->size()); }
    double* column(int distance) { return (distance % 2 == 0 ? prob_even : prob_odd).data(); }
    column_kernels::lanes& sums(int distance) { return distance % 2 == 0 ? sum_even : sum_odd; }
    double* stored(std::vector<double>& columns, int s) {
        return columns.data() + static_cast<std::ptrdiff_t>(s - segment_first) * column_kernels::LANES * K();
    }
    void read_alleles(int locus);
    void rescale_at(int distance, int n_candidates);

    void set_end_group(genotype_graph* G, int g, const column_kernels::lanes& mass, int n_candidates,
                       int shift);
    int set_inner_group(const hmm_parameters& M, genotype_graph* G, int s, int locus);

    std::vector<unsigned char> alleles;  // of the conditioning haplotypes at the locus in hand
};
