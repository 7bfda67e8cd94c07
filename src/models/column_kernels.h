#pragma once

#include <array>

/// The inner loops of the copying model, over columns of K conditioning haplotypes and up to 8 candidates.
///
/// A column is an array of K rows of 8 doubles: the value of candidate c and conditioning haplotype k stands
/// at [k * 8 + c], so that a row fills the lanes of a vector register. Each lane keeps its own sum over k in
/// rising k, added one after the other: sums are never reordered, products never fused into them, and the
/// results are the same bits on every machine. Lanes beyond the segment's candidates hold 0.
namespace column_kernels {

constexpr int LANES = 8;

/// One value a candidate.
using lanes = std::array<double, LANES>;
/// Emission probabilities at one locus, for conditioning allele 0 and 1.
using emissions = std::array<lanes, 2>;

/// How the previous column flows into the next one.
struct flow {
    const double* column;  // previous column
    const lanes* sums;     // sums of the previous column
    double tn;             // probability of a jump to one given state
    double nt;             // probability of no jump
};

/// column[k][c] = em[alleles[k]][c]; sums[c] over k.
void start(const emissions& em, const unsigned char* alleles, int K, double* column, lanes& sums);

/// Inside a segment, candidates flow into themselves:
/// column[k][c] = (from.sums[c] * tn + nt * from.column[k][c]) * em[alleles[k]][c].
void step_inside(const flow& from, const emissions& em, const unsigned char* alleles, int K, double* column,
                 lanes& sums);

/// At a boundary each of the `n_from` candidates of the previous segment flows into every candidate of this:
/// column[k][c] = (sum over d of (from.sums[d] * tn + nt * from.column[k][d])) * em[alleles[k]][c].
void step_across(const flow& from, int n_from, const emissions& em, const unsigned char* alleles, int K,
                 double* column, lanes& sums);

/// Divides the column and its sums by the total of the first `n` sums.
void rescale(int n, int K, double* column, lanes& sums);

/// Haploid mass between left candidate c (rows) and right candidate d:
/// pairs[c][d] = sum over k of (from.sums[c] * tn + nt * from.column[k][c]) * right[k][d].
void pair_sums(const flow& from, const double* right, int K, std::array<lanes, LANES>& pairs);

}  // namespace column_kernels
