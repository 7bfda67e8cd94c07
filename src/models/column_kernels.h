#pragma once

#include <array>
#include <string>
#include <vector>

/// The inner loops of the copying model, over columns of K conditioning haplotypes and up to 8 candidates.
///
/// A column is an array of K rows of 8 doubles: [k][c] is the value of candidate c and conditioning haplotype
/// k. A row fills one vector register, or two or four narrower ones. Each lane has its own sum over k, added
/// up one by one in ascending order of k. Sums are never reordered and products never fused into them, so the
/// results have the same bits on every machine. Lanes beyond the candidates of a segment have arbitrary
/// values. With up to four candidates only half of each row is computed.
namespace column_kernels {

constexpr int LANES = 8;
constexpr int HALF = 4;

/// One value per candidate: a row of a column, or its sums.
struct alignas(64) lanes {
    double value[LANES];

    double& operator[](int c) { return value[c]; }
    const double& operator[](int c) const { return value[c]; }
};

/// Emission probabilities at one locus, for conditioning allele 0 and 1.
using emissions = std::array<lanes, 2>;
/// Emissions of candidates with the given alleles, bit c for candidate c: `match` where the conditioning
/// allele equals that of the candidate, else `mismatch`.
inline emissions emissions_of(unsigned alleles, double match, double mismatch) {
    emissions em;
    for (int c = 0; c < LANES; ++c) {
        const bool second = (alleles >> c & 1) != 0;
        em[0][c] = second ? mismatch : match;
        em[1][c] = second ? match : mismatch;
    }
    return em;
}
/// Haploid mass of each pair of a left candidate (first index) and a right candidate (second index).
using pair_matrix = std::array<lanes, LANES>;

/// A column, and the transition probabilities of the interval after it.
struct flow {
    const lanes* column;
    const lanes* sums;  // of the column, over k
    double tn;          // probability of a jump to one given state
    double nt;          // probability of no jump
    int n_candidates;   // of the column's segment
};

/// One step of a pass, at one locus. The column to fill may be the previous column, which is then overwritten
/// row by row.
struct step {
    flow from;                     // the previous column
    const emissions* em;           // at this locus
    const unsigned char* alleles;  // of the K conditioning haplotypes at this locus, 0 or 1
    lanes* column;                 // the column to fill
    lanes* sums;                   // its sums
};

/// The kernels of one instruction set. All sets give the same bits.
struct kernel_set {
    const char* name;
    bool (*is_available)();

    /// column[k][c] = (*em)[alleles[k]][c]; `from` is not used.
    void (*start)(const step& s, int K);
    /// Inside a segment, each candidate flows only into itself:
    /// column[k][c] = (from.sums[c] * tn + nt * from.column[k][c]) * (*em)[alleles[k]][c].
    void (*inside)(const step& s, int K);
    /// Two such steps interleaved. The sums of one step are a chain of dependent additions; a second,
    /// independent chain keeps the processor busy while the first one waits.
    void (*inside_both)(const step& s, const step& t, int K);
    /// At a segment boundary, each candidate of the previous segment flows into every candidate of this one:
    /// column[k][c] = (sum over d of (from.sums[d] * tn + nt * from.column[k][d])) * (*em)[alleles[k]][c].
    void (*across)(const step& s, int K);
    /// Divides the column and its sums by the total of the first `n` sums.
    void (*rescale)(int n, int K, lanes* column, lanes& sums);
    /// pairs[c][d] = sum over k of (left.sums[c] * tn + nt * left.column[k][c]) * right[k][d], for each
    /// candidate c of the left segment and each of the `n_right` candidates d of the right one.
    void (*pair_sums)(const flow& left, const lanes* right, int n_right, int K, pair_matrix& pairs);
};

/// The fastest set that this machine supports.
const kernel_set& kernels();
/// All sets that this machine supports, the fastest first.
std::vector<const kernel_set*> available_kernels();

}  // namespace column_kernels
