#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// The inner loops of the copying model in single precision, over columns of K conditioning haplotypes.
///
/// A column has up to 8 rows, each of which stands for one or more candidates: the values of the K
/// haplotypes, and zeros up to the next multiple of 16. In memory there is always room for 8 rows; kernels
/// may read those that are not in use, but results do not depend on them.
///
/// The sum of a row adds up 16 partial sums, partial sum j over haplotypes j, j + 16, ... in ascending order,
/// and then folds them in halves: 8 onto 8, 4 onto 4, 2 onto 2, 1 onto 1. Products are never fused into sums.
/// So the results have the same bits on every machine.
///
/// Each row has a scale of its own: the true values are those in memory times 2 to the power of its exponent.
/// Every step brings the sum of a row back to between 1 and 2 before it goes on, which costs nothing, since
/// the factor is part of those by which values are multiplied anyway. So no value gets near underflow.
namespace row_kernels {

constexpr int MOST_ROWS = 8;
constexpr int BLOCK = 16;

/// Blocks of a row of K values.
constexpr int n_blocks(int K) {
    return (K + BLOCK - 1) / BLOCK;
}

/// Memory for the values of 16 haplotypes.
struct alignas(64) value_block {
    float value[BLOCK];
};

/// Alleles of 16 conditioning haplotypes at a locus, bit k for haplotype k.
using allele_block = std::uint16_t;

/// Sums and exponents of the rows of a column.
struct row_scales {
    std::array<float, MOST_ROWS> sum;
    std::array<int, MOST_ROWS> exponent;
};

/// A pass inside a segment: its column, which each step overwrites, and its locus.
struct inside_run {
    float* rows;
    row_scales* scales;
    int n_rows;
    int K;
    const allele_block* alleles;  // of the conditioning haplotypes at the locus; n_blocks(K) for each locus
    const unsigned char* row_alleles;  // alleles of the rows at the locus, bit r for row r
    const float* jumps;                // probability of a jump in each interval between neighbouring loci
    int locus;                         // index in jumps of the interval to the right of the locus
    int direction;                     // 1 or -1: the next locus is to the right or to the left
    float mismatch;                    // emission of an allele that is not the row's; that of its own is 1
};

/// Products of rows, by row on the left and row on the right.
using row_products = std::array<std::array<float, MOST_ROWS>, MOST_ROWS>;

/// The kernels of one instruction set. All sets give the same bits.
struct kernel_set {
    const char* name;
    bool (*is_available)();

    /// Sets the first column of a segment: row c[k] = before[k] * emission(c, k), with exponents of 0.
    void (*spread)(const inside_run& run, const float* before);
    /// Takes `n_steps` steps of each of `n_runs` runs, in turn. A step moves to the next locus, and
    /// row c[k] = (sum of row c * jump / K + (1 - jump) * row c[k]) * emission(c, k). The sums of one row are
    /// a chain of dependent additions; other rows and runs keep the processor busy while it waits.
    void (*inside)(inside_run* const* runs, int n_runs, int n_steps);
    /// out[k] = start + sum over the rows c of weight[c] * row c[k], in ascending order of c.
    void (*collapse)(int n_rows, int K, const float* rows, const std::array<float, MOST_ROWS>& weight,
                     float start, float* out);
    /// products[c][d] = sum over k of row c of `left` times row d of `right`.
    void (*products)(int n_left, int n_right, int K, const float* left, const float* right,
                     row_products& products);
};

/// The fastest set that this machine supports.
const kernel_set& kernels();
/// All sets that this machine supports, the fastest first.
std::vector<const kernel_set*> available_kernels();

}  // namespace row_kernels
