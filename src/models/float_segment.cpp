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
constexpr unsigned EQUAL_TO_ONE = 0xFF;  // the alleles of the candidates where all have allele 1

template <class Value>
void grow(std::vector<Value>& buffer, std::size_t size) {
    if (buffer.size() < size) buffer.resize(size);
}

/// 2 to the power of the exponent of each row, relative to the largest of them. Rows that are less than 2 to
/// the power of -400 get that: the product of two still fits in a double.
std::array<double, MOST_ROWS> relative_scales(const row_scales& scales, const candidate_rows& rows) {
    const int largest = *std::max_element(scales.exponent.begin(), scales.exponent.begin() + rows.n_rows);
    std::array<double, MOST_ROWS> scale{};
    for (int r = 0; r < rows.n_rows; ++r)
        scale[r] = std::ldexp(1.0, std::max(scales.exponent[r] - largest, LEAST_EXPONENT));
    return scale;
}

int n_candidates(const genotype_graph& G, int s) {
    return static_cast<int>(G.seg_count[s]);
}

/// The mass of each candidate of a segment, up to a common factor.
column_kernels::lanes masses(const row_scales& scales, const candidate_rows& rows, int n) {
    const std::array<double, MOST_ROWS> scale = relative_scales(scales, rows);
    column_kernels::lanes mass{};
    for (int c = 0; c < n; ++c) mass[c] = scales.sum[rows.row_of[c]] * scale[rows.row_of[c]];
    return mass;
}

}  // namespace

/// The state of one pass, inside a segment.
struct float_segment::pass {
    /// From one locus of the segment on, the candidates of a row no longer have the same alleles.
    struct split {
        int position;  // of the locus in the segment, counted in the direction of the pass
        int from, to;  // a copy of row `from` becomes row `to`
    };

    row_kernels::inside_run run;
    int segment, last_segment;
    int next_locus;  // behind the segment, in the direction of the pass
    int n_left;      // steps to the next split, or to the end of the segment
    std::array<split, MOST_ROWS> splits;
    int n_splits, next_split;
    int length;  // of the segment

    /// The position of the next split, or of the end.
    int next_event() const { return next_split < n_splits ? splits[next_split].position : length; }
    bool is_behind_segment() const { return n_left == 0 && next_split == n_splits; }
    bool is_done() const { return segment == last_segment && is_behind_segment(); }
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
    grow(buffers.alpha_rows, n_segments);
    grow(buffers.beta_rows, n_segments);
    grow(buffers.ahead, n_loci);
    grow(buffers.back, n_loci);
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
            // Bits beyond the last candidate copy the first one, so that a byte is 0 or 255 where all are
            // equal.
            for (int c = 0; c < MOST_ROWS; ++c)
                rows |= std::uint64_t{G.hap_bits.get8(G.candidate(s, c < n_candidates(G, s) ? c : 0) + i)}
                        << (8 * c);
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
    const row_scales& from = scales<DIRECTION>(at.segment);
    const candidate_rows& its_rows = rows<DIRECTION>(at.segment);
    std::array<double, MOST_ROWS> scale = relative_scales(from, its_rows);
    std::array<int, MOST_ROWS> n_of_row{};
    for (int c = 0; c < n_candidates(G, at.segment); ++c) ++n_of_row[its_rows.row_of[c]];
    double total = 0.0;
    for (int r = 0; r < its_rows.n_rows; ++r) {
        scale[r] *= n_of_row[r];
        total += from.sum[r] * scale[r];
    }
    const float jump = rates.jump[DIRECTION > 0 ? at.next_locus - 1 : at.next_locus];
    std::array<float, MOST_ROWS> weight{};
    for (int r = 0; r < its_rows.n_rows; ++r) weight[r] = static_cast<float>(scale[r] * (1.0 - jump) / total);
    kernel.collapse(its_rows.n_rows, K, column<DIRECTION>(at.segment), weight, jump / static_cast<float>(K),
                    buffers.before.front().value);
}

/// Decides which candidates share a row at each locus of the segment: all that had the same alleles so far.
/// Sets the alleles of the rows and the splits, and leaves the rows at the end of the segment in rows().
template <int DIRECTION>
void float_segment::plan_rows(pass& at, const genotype_graph& G) {
    const int n = n_candidates(G, at.segment);
    std::array<unsigned, MOST_ROWS> members{(1U << n) - 1};  // of each row, bit c for candidate c
    int n_rows = 1;
    at.n_splits = at.next_split = 0;
    int place = at.next_locus - range.first_locus;
    for (int position = 0; position < at.length; ++position, place += DIRECTION) {
        const unsigned alleles = buffers.candidates[place];
        unsigned of_rows = alleles;
        if (alleles != 0 && alleles != EQUAL_TO_ONE) {
            of_rows = 0;
            for (int row = 0, n_before = n_rows; row < n_before; ++row) {
                const unsigned with_one = members[row] & alleles;
                if (with_one == 0) continue;
                if (with_one == members[row]) {
                    of_rows |= 1U << row;
                } else {
                    at.splits[at.n_splits++] = {position, row, n_rows};
                    members[row] &= ~alleles;
                    members[n_rows] = with_one;
                    of_rows |= 1U << n_rows++;
                }
            }
        }
        (DIRECTION > 0 ? buffers.ahead : buffers.back)[place] = static_cast<unsigned char>(of_rows);
    }
    candidate_rows& at_end = rows<DIRECTION>(at.segment);
    at_end.n_rows = n_rows;
    for (int row = 0; row < n_rows; ++row)
        for (int c = 0; c < n; ++c)
            if ((members[row] >> c & 1U) != 0) at_end.row_of[c] = static_cast<unsigned char>(row);
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
    at.length = static_cast<int>(G.seg_length[at.segment]);
    plan_rows<DIRECTION>(at, G);
    int n_rows = 1;
    for (; at.next_event() == 0; ++at.next_split) ++n_rows;
    at.run = {
        .rows = column<DIRECTION>(at.segment),
        .scales = &scales<DIRECTION>(at.segment),
        .n_rows = n_rows,
        .K = K,
        .alleles = alleles_at(at.next_locus),
        .row_alleles = &(DIRECTION > 0 ? buffers.ahead : buffers.back)[at.next_locus - range.first_locus],
        .jumps = rates.jump.data(),
        .locus = at.next_locus,
        .direction = DIRECTION,
        .mismatch = rates.mismatch};
    kernel.spread(at.run, before);
    at.n_left = at.next_event() - 1;
    at.next_locus += DIRECTION * at.length;
}

/// Copies the rows that split at the next locus.
void float_segment::split_rows(pass& at) const {
    const int position = at.next_event();
    for (; at.next_split < at.n_splits && at.splits[at.next_split].position == position; ++at.next_split) {
        const pass::split& next = at.splits[at.next_split];
        const std::ptrdiff_t size = static_cast<std::ptrdiff_t>(n_blocks) * row_kernels::BLOCK;
        std::copy_n(at.run.rows + next.from * size, size, at.run.rows + next.to * size);
        at.run.scales->sum[next.to] = at.run.scales->sum[next.from];
        at.run.scales->exponent[next.to] = at.run.scales->exponent[next.from];
        at.run.n_rows = next.to + 1;
    }
    at.n_left = at.next_event() - position;
}

/// Does what has to be done before the next step of a pass.
template <int DIRECTION>
void float_segment::proceed(pass& at, const genotype_graph& G) {
    while (at.n_left == 0 && !at.is_done()) {
        if (at.is_behind_segment())
            enter<DIRECTION>(at, G);
        else
            split_rows(at);
    }
}

/// Runs both passes. They are independent, so their steps inside segments alternate: each computes while the
/// other one waits for its sums.
void float_segment::both_passes(const genotype_graph& G) {
    pass ahead = start<1>(), back = start<-1>();
    while (!ahead.is_done() || !back.is_done()) {
        proceed<1>(ahead, G);
        proceed<-1>(back, G);
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
        weigh_last_group(G, masses(scales<1>(last), rows<1>(last), n_candidates(G, last)),
                         buffers.group_prob);
    if (range.first_segment == 0)
        weigh_first_group(G, masses(scales<-1>(0), rows<-1>(0), n_candidates(G, 0)), buffers.group_prob);
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
    const candidate_rows &left_rows = rows<1>(s - 1), &right_rows = rows<-1>(s);
    const std::array<double, MOST_ROWS> left_scale = relative_scales(left, left_rows),
                                        right_scale = relative_scales(right, right_rows);
    row_kernels::row_products products;
    kernel.products(left_rows.n_rows, right_rows.n_rows, K, column<1>(s - 1), column<-1>(s), products);
    const double jump = rates.jump[locus - 1], to_one = jump / K;
    column_kernels::pair_matrix pairs{};
    for (int c = 0; c < n_left; ++c)
        for (int d = 0; d < n_right; ++d) {
            const int i = left_rows.row_of[c], j = right_rows.row_of[d];
            const double jumping = to_one * left.sum[i] * right.sum[j];
            pairs[c][d] = (jumping + (1.0 - jump) * products[i][j]) * (left_scale[i] * right_scale[j]);
        }
    return weigh_inner_group(G, s, pairs, buffers.group_prob);
}
