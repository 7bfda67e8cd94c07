#include "models/float_segment.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "models/transition_weights.h"
#include "utils/bits.h"

using row_kernels::allele_block;
using row_kernels::MOST_ROWS;
using row_kernels::row_scales;

namespace {

constexpr int LEAST_EXPONENT = -400;

template <class Value>
void grow(std::vector<Value>& buffer, std::size_t size) {
    if (buffer.size() < size) buffer.resize(size);
}

/// 2 to the power of the exponent of each of the first n rows, relative to the largest of them. Rows that are
/// less than 2 to the power of -400 get that: the product of two still fits in a double.
std::array<double, MOST_ROWS> relative_scales(const row_scales& scales, int n) {
    const int largest = *std::max_element(scales.exponent.begin(), scales.exponent.begin() + n);
    std::array<double, MOST_ROWS> scale{};
    for (int c = 0; c < n; ++c)
        scale[c] = std::ldexp(1.0, std::max(scales.exponent[c] - largest, LEAST_EXPONENT));
    return scale;
}

/// The mass of each candidate, up to a common factor.
column_kernels::lanes masses(const row_scales& scales, int n) {
    const std::array<double, MOST_ROWS> scale = relative_scales(scales, n);
    column_kernels::lanes mass{};
    for (int c = 0; c < n; ++c) mass[c] = scales.sum[c] * scale[c];
    return mass;
}

int n_candidates(const genotype_graph& G, int s) {
    return static_cast<int>(G.seg_count[s]);
}

}  // namespace

/// The state of one pass, inside a segment.
struct float_segment::pass {
    row_kernels::inside_run run;
    int segment;
    int next_locus;  // behind the segment, in the direction of the pass
    int n_left;      // steps to go inside the segment
    int last_segment;

    bool is_behind_segment() const { return n_left == 0; }
    bool is_done() const { return n_left == 0 && segment == last_segment; }
};

float_segment::float_segment(const std::vector<chaplotype>& haplotypes, const std::vector<int>& indexes,
                             const segment_range& loci, const copying_rates& parameters,
                             float_buffers& memory)
    : H(haplotypes),
      idx(indexes),
      rates(parameters),
      buffers(memory),
      kernel(row_kernels::kernels()),
      range(loci),
      K(static_cast<int>(indexes.size())),
      n_blocks(row_kernels::n_blocks(K)) {
    const std::size_t n_segments = range.last_segment - range.first_segment + 1;
    const std::size_t n_loci = range.last_locus - range.first_locus + 1;
    grow(buffers.alpha, n_segments * MOST_ROWS * n_blocks);
    grow(buffers.beta, n_segments * MOST_ROWS * n_blocks);
    grow(buffers.alpha_scales, n_segments);
    grow(buffers.beta_scales, n_segments);
    grow(buffers.alleles, n_loci * n_blocks);
    grow(buffers.candidates, n_loci + 8);
    grow(buffers.before, n_blocks);
}

/// Fills buffers.alleles, 64 loci of 64 haplotypes at a time.
void float_segment::unpack_haplotypes() {
    constexpr int SIZE = 64, BLOCKS = SIZE / row_kernels::BLOCK;
    std::array<std::uint64_t, SIZE> bits;
    for (int first = 0; first < K; first += SIZE) {
        const int first_block = first / row_kernels::BLOCK, n = std::min(BLOCKS, n_blocks - first_block);
        for (int l = range.first_locus; l <= range.last_locus; l += SIZE) {
            for (int i = 0; i < SIZE; ++i) bits[i] = first + i < K ? H[idx[first + i]].get64(l) : 0;
            transpose(bits);
            const int n_loci = std::min(SIZE, range.last_locus + 1 - l);
            allele_block* to = alleles_at(l) + first_block;
            for (int i = 0; i < n_loci; ++i, to += n_blocks)
                for (int b = 0; b < n; ++b)
                    to[b] = static_cast<allele_block>(bits[i] >> (row_kernels::BLOCK * b));
        }
    }
}

/// Fills buffers.candidates, eight loci of eight candidates at a time.
void float_segment::unpack_candidates(const genotype_graph& G) {
    unsigned char* locus = buffers.candidates.data();
    for (int s = range.first_segment; s <= range.last_segment; ++s) {
        const int length = static_cast<int>(G.seg_length[s]);
        for (int i = 0; i < length; i += 8) {
            std::uint64_t rows = 0;
            for (int c = 0; c < n_candidates(G, s); ++c)
                rows |= std::uint64_t{G.hap_bits.get8(G.candidate(s, c) + i)} << (8 * c);
            rows = transposed(rows);
            std::memcpy(locus + i, &rows, sizeof rows);  // the next segment overwrites the surplus
        }
        locus += length;
    }
}

/// A pass before its first segment.
template <int DIRECTION>
float_segment::pass float_segment::start() {
    pass at{};
    at.next_locus = DIRECTION > 0 ? range.first_locus : range.last_locus;
    at.segment = DIRECTION > 0 ? range.first_segment - 1 : range.last_segment + 1;
    at.last_segment = DIRECTION > 0 ? range.last_segment : range.first_segment;
    return at;
}

/// Sets buffers.before to what flows from all candidates of the segment of the pass to each haplotype at the
/// next locus. Divides by the total mass, so that values cannot get smaller and smaller.
template <int DIRECTION>
void float_segment::flow_across(const pass& at, const genotype_graph& G) {
    const int n = n_candidates(G, at.segment);
    const row_scales& from = scales<DIRECTION>(at.segment);
    const std::array<double, MOST_ROWS> scale = relative_scales(from, n);
    double total = 0.0;
    for (int c = 0; c < n; ++c) total += from.sum[c] * scale[c];
    const float jump = rates.jump[DIRECTION > 0 ? at.next_locus - 1 : at.next_locus];
    std::array<float, MOST_ROWS> weight{};
    for (int c = 0; c < n; ++c) weight[c] = static_cast<float>(scale[c] * (1.0 - jump) / total);
    kernel.collapse(n, K, column<DIRECTION>(at.segment), weight, jump / static_cast<float>(K),
                    buffers.before.front().value);
}

/// Moves a pass to the first locus of the next segment.
template <int DIRECTION>
void float_segment::enter(pass& at, const genotype_graph& G) {
    float* before = buffers.before.front().value;
    const bool is_first = at.segment == (DIRECTION > 0 ? range.first_segment - 1 : range.last_segment + 1);
    if (is_first)
        std::fill_n(before, n_blocks * row_kernels::BLOCK, 1.0F / static_cast<float>(K));
    else
        flow_across<DIRECTION>(at, G);
    at.segment += DIRECTION;
    const int locus = at.next_locus, length = static_cast<int>(G.seg_length[at.segment]);
    at.run = {.rows = column<DIRECTION>(at.segment),
              .scales = &scales<DIRECTION>(at.segment),
              .n_candidates = n_candidates(G, at.segment),
              .K = K,
              .alleles = alleles_at(locus),
              .candidates = &buffers.candidates[locus - range.first_locus],
              .jumps = rates.jump.data(),
              .locus = locus,
              .direction = DIRECTION,
              .mismatch = rates.mismatch};
    kernel.spread(at.run, before);
    at.n_left = length - 1;
    at.next_locus += DIRECTION * length;
}

/// Runs both passes. They are independent, so their steps inside segments alternate: each computes while the
/// other one waits for its sums.
void float_segment::both_passes(const genotype_graph& G) {
    pass ahead = start<1>(), back = start<-1>();
    while (!ahead.is_done() || !back.is_done()) {
        if (ahead.is_behind_segment() && !ahead.is_done()) enter<1>(ahead, G);
        if (back.is_behind_segment() && !back.is_done()) enter<-1>(back, G);
        std::array<row_kernels::inside_run*, 2> runs{};
        int n_runs = 0, n_steps = std::max(ahead.n_left, back.n_left);
        for (pass* at : {&ahead, &back})
            if (at->n_left > 0) {
                runs[n_runs++] = &at->run;
                n_steps = std::min(n_steps, at->n_left);
            }
        kernel.inside(runs.data(), n_runs, n_steps);
        for (pass* at : {&ahead, &back})
            if (at->n_left > 0) at->n_left -= n_steps;
    }
}

int float_segment::expectation(genotype_graph& G) {
    unpack_haplotypes();
    unpack_candidates(G);
    both_passes(G);
    const int last = range.last_segment;
    if (last == G.n_segments() - 1)
        weigh_last_group(G, masses(scales<1>(last), n_candidates(G, last)), buffers.group_prob);
    if (range.first_segment == 0)
        weigh_first_group(G, masses(scales<-1>(0), n_candidates(G, 0)), buffers.group_prob);
    int n_underflows = 0;
    int locus = range.first_locus;
    for (int s = range.first_segment + 1; s <= last; ++s) {
        locus += static_cast<int>(G.seg_length[s - 1]);
        n_underflows += set_inner_group(G, s, locus);
    }
    return n_underflows;
}

/// Sets group `s`, between segments s - 1 and s, where segment s starts at `locus`. Returns 1 if the products
/// underflowed, else 0.
int float_segment::set_inner_group(genotype_graph& G, int s, int locus) {
    const int n_left = n_candidates(G, s - 1), n_right = n_candidates(G, s);
    const row_scales &left = scales<1>(s - 1), &right = scales<-1>(s);
    const std::array<double, MOST_ROWS> left_scale = relative_scales(left, n_left),
                                        right_scale = relative_scales(right, n_right);
    row_kernels::row_products products;
    kernel.products(n_left, n_right, K, column<1>(s - 1), column<-1>(s), products);
    const double jump = rates.jump[locus - 1], to_one = jump / K;
    column_kernels::pair_matrix pairs{};
    for (int c = 0; c < n_left; ++c)
        for (int d = 0; d < n_right; ++d) {
            const double jumping = to_one * left.sum[c] * right.sum[d];
            pairs[c][d] = (jumping + (1.0 - jump) * products[c][d]) * (left_scale[c] * right_scale[d]);
        }
    return weigh_inner_group(G, s, pairs, buffers.group_prob);
}
