#include "models/haplotype_segment.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "models/transition_weights.h"
#include "objects/bit_kernels.h"
#include "utils/assertion.h"
#include "utils/bits.h"

using column_kernels::emissions;
using column_kernels::flow;
using column_kernels::lanes;
using column_kernels::LANES;

namespace {

constexpr int RESCALING_PERIOD = 50;  // loci
constexpr unsigned ALLELE_SETS = 1U << LANES;
static_assert(LANES == MAX_SEGMENT_HAPS, "a row of a column holds a value for each candidate");

template <class Value>
void grow(std::vector<Value>& buffer, std::size_t size) {
    if (buffer.size() < size) buffer.resize(size);
}

}  // namespace

model_work& model_work::operator+=(const model_work& other) {
    for (std::size_t c = 0; c < rows.size(); ++c) {
        rows[c] += other.rows[c];
        for (std::size_t d = 0; d < rows.size(); ++d) pair_rows[c][d] += other.pair_rows[c][d];
    }
    return *this;
}

/// The state of one pass: its locus, and the step to take there. The forward pass goes up from the first
/// locus, the backward pass down from the last one.
struct haplotype_segment::pass {
    enum { START, INSIDE, ACROSS, DONE } kind;
    int locus;
    int segment;
    int to_come;  // loci of the segment that are still ahead, in the direction of the pass
    int phase;    // 0 at loci where the column is rescaled
    const unsigned char* candidates;  // alleles of the candidates at `locus`
    lanes sums;                       // of the current column
    emissions first_emissions;        // of the first step of the backward pass
    column_kernels::step step;        // step.column is the current column once the step is taken

    bool is_at_boundary() const { return kind == START || kind == ACROSS; }
};

haplotype_segment::haplotype_segment(const std::vector<chaplotype>& haplotypes,
                                     const std::vector<int>& indices, const segment_range& range,
                                     segment_buffers& memory)
    : segment_first(range.first_segment),
      segment_last(range.last_segment),
      locus_first(range.first_locus),
      locus_last(range.last_locus),
      H(&haplotypes),
      idx(&indices),
      buffers(memory),
      kernel(column_kernels::kernels()) {
    const std::size_t n_states = indices.size();
    const std::size_t n_segments = std::max(segment_last - segment_first + 1, 0);
    grow(buffers.forward, n_states);
    grow(buffers.backward, n_states);
    grow(buffers.alpha, n_segments * n_states);
    grow(buffers.beta, n_segments * n_states);
    grow(buffers.alpha_sum, n_segments);
}

/// Fills buffers.alleles for all loci of the run, starting at the byte that holds the first one. Reads eight
/// bytes of each haplotype at a time.
void haplotype_segment::unpack_haplotypes() {
    const int first_byte = locus_first >> 3, end_byte = (locus_last >> 3) + 1, n_states = K();
    grow(buffers.words, stride());
    grow(buffers.alleles, 8 * static_cast<std::size_t>(end_byte - first_byte) * stride());
    for (int byte = first_byte; byte < end_byte; ++byte) {
        const int b = (byte - first_byte) % 8;
        if (b == 0)
            for (int k = 0; k < n_states; ++k) buffers.words[k] = (*H)[(*idx)[k]].get64(8 * byte);
        bit_kernels::kernels().unpack(buffers.words.data(), b, stride(), alleles_at(8 * byte));
    }
}

/// Fills buffers.candidates for all loci of the run, eight loci of eight candidates at a time.
void haplotype_segment::unpack_candidates(const genotype_graph& G) {
    grow(buffers.candidates, locus_last - locus_first + 1 + 8);
    unsigned char* locus = buffers.candidates.data();
    for (int s = segment_first; s <= segment_last; ++s) {
        const int length = static_cast<int>(G.seg_length[s]), n = static_cast<int>(G.seg_count[s]);
        for (int i = 0; i < length; i += 8) {
            std::uint64_t rows = 0;
            // Lanes beyond the last candidate copy the first one. Their values are not used, but denormal
            // numbers there would slow the processor down.
            for (int c = 0; c < LANES; ++c)
                rows |= std::uint64_t{G.hap_bits.get8(G.candidate(s, c < n ? c : 0) + i)} << (8 * c);
            rows = transposed(rows);
            std::memcpy(locus + i, &rows, sizeof rows);  // the next segment overwrites the surplus
        }
        locus += length;
    }
}

/// Computes the emissions for all combinations of candidate alleles, unless the buffers hold them already.
void haplotype_segment::prepare_emissions(const hmm_parameters& M) {
    const auto kind = std::pair(M.em_match, M.em_mismatch);
    if (!buffers.emission.empty() && buffers.emission_kind == kind) return;
    buffers.emission_kind = kind;
    buffers.emission.resize(ALLELE_SETS);
    for (unsigned alleles = 0; alleles < ALLELE_SETS; ++alleles)
        buffers.emission[alleles] = column_kernels::emissions_of(alleles, M.em_match, M.em_mismatch);
}

void haplotype_segment::prepare(const hmm_parameters& M, const genotype_graph& G) {
    if (locus_first > locus_last) return;
    prepare_emissions(M);
    unpack_haplotypes();
    unpack_candidates(G);
}

void haplotype_segment::count_work(const genotype_graph& G) const {
    for (int s = segment_first; s <= segment_last; ++s) {
        buffers.work.rows[G.seg_count[s]] += 2L * G.seg_length[s] * K();
        if (s > segment_first) buffers.work.pair_rows[G.seg_count[s - 1]][G.seg_count[s]] += K();
    }
}

template <int DIRECTION>
lanes* haplotype_segment::column_at(const pass& at) {
    if (at.to_come > 0) return (DIRECTION > 0 ? buffers.forward : buffers.backward).data();
    return stored(DIRECTION > 0 ? buffers.alpha : buffers.beta, at.segment);
}

template <int DIRECTION>
void haplotype_segment::begin(pass& at, const hmm_parameters& M, const genotype_graph& G) {
    at.kind = pass::DONE;
    if (locus_first > locus_last) return;
    at.kind = pass::START;
    at.locus = DIRECTION > 0 ? locus_first : locus_last;
    at.segment = DIRECTION > 0 ? segment_first : segment_last;
    at.to_come = static_cast<int>(G.seg_length[at.segment]) - 1;
    at.phase = (at.locus - locus_first) % RESCALING_PERIOD;  // both passes count loci from the left end
    at.candidates = &buffers.candidates[at.locus - locus_first];
    at.step.from.sums = at.step.sums = &at.sums;
    at.step.alleles = alleles_at(at.locus);
    at.step.em = &buffers.emission[*at.candidates];
    if (DIRECTION < 0) {
        at.first_emissions = column_kernels::emissions_of(*at.candidates, M.em_match_n, M.em_mismatch_n);
        at.step.em = &at.first_emissions;
    }
    at.step.column = column_at<DIRECTION>(at);
}

/// Takes the current step.
void haplotype_segment::take(const pass& at) const {
    if (at.kind == pass::START)
        kernel.start(at.step, K());
    else if (at.kind == pass::INSIDE)
        kernel.inside(at.step, K());
    else
        kernel.across(at.step, K());
}

/// Finishes the step just taken, and prepares the one at the next locus.
template <int DIRECTION>
inline void haplotype_segment::advance(pass& at, const hmm_parameters& M, const genotype_graph& G) {
    const int n_candidates = static_cast<int>(G.seg_count[at.segment]);
    if (at.phase == 0) kernel.rescale(n_candidates, K(), at.step.column, at.sums);
    if (DIRECTION > 0)
        at.phase = at.phase == RESCALING_PERIOD - 1 ? 0 : at.phase + 1;
    else
        at.phase = at.phase == 0 ? RESCALING_PERIOD - 1 : at.phase - 1;
    if (at.to_come > 0) {
        at.kind = pass::INSIDE;
        --at.to_come;
    } else {
        if (DIRECTION > 0) buffers.alpha_sum[at.segment - segment_first] = at.sums;
        if (DIRECTION < 0 && at.locus == 0) beta_sum = at.sums;
        if (at.segment == (DIRECTION > 0 ? segment_last : segment_first)) {
            at.kind = pass::DONE;
            return;
        }
        at.kind = pass::ACROSS;
        at.segment += DIRECTION;
        at.to_come = static_cast<int>(G.seg_length[at.segment]) - 1;
    }
    const int interval = DIRECTION > 0 ? at.locus : at.locus - 1;  // numbered by the locus on its left
    at.locus += DIRECTION;
    at.candidates += DIRECTION;
    at.step.from.column = at.step.column;
    at.step.from.tn = M.tn[interval];
    at.step.from.nt = M.nt[interval];
    at.step.from.n_candidates = n_candidates;
    at.step.alleles += DIRECTION * static_cast<std::ptrdiff_t>(stride());
    at.step.em = &buffers.emission[*at.candidates];
    at.step.column = column_at<DIRECTION>(at);
}

template <int DIRECTION>
void haplotype_segment::run_pass(const hmm_parameters& M, const genotype_graph& G) {
    prepare(M, G);
    pass at;
    for (begin<DIRECTION>(at, M, G); at.kind != pass::DONE; advance<DIRECTION>(at, M, G)) take(at);
}

void haplotype_segment::forward(const hmm_parameters& M, const genotype_graph* G) {
    run_pass<1>(M, *G);
}

void haplotype_segment::backward(const hmm_parameters& M, const genotype_graph* G) {
    run_pass<-1>(M, *G);
}

/// Runs both passes. They are independent, so their steps inside segments are interleaved: each computes
/// while the other one waits for its additions. Steps at boundaries are taken one at a time.
void haplotype_segment::both_passes(const hmm_parameters& M, const genotype_graph& G) {
    pass ahead, back;
    begin<1>(ahead, M, G);
    begin<-1>(back, M, G);
    while (ahead.kind != pass::DONE || back.kind != pass::DONE) {
        if (ahead.kind == pass::INSIDE && back.kind == pass::INSIDE) {
            kernel.inside_both(ahead.step, back.step, K());
            advance<1>(ahead, M, G);
            advance<-1>(back, M, G);
        } else if (back.kind == pass::DONE || ahead.is_at_boundary()) {
            take(ahead);
            advance<1>(ahead, M, G);
        } else {
            take(back);
            advance<-1>(back, M, G);
        }
    }
}

int haplotype_segment::expectation(const hmm_parameters& M, genotype_graph* G) {
    prepare(M, *G);
    both_passes(M, *G);
    const int S = G->n_segments();
    if (segment_last == S - 1)
        weigh_last_group(*G, buffers.alpha_sum[segment_last - segment_first], buffers.group_prob);
    if (segment_first == 0) weigh_first_group(*G, beta_sum, buffers.group_prob);
    int n_underflows = 0;
    int locus = locus_first;
    for (int s = segment_first + 1; s <= segment_last; ++s) {
        locus += static_cast<int>(G->seg_length[s - 1]);
        n_underflows += set_inner_group(M, G, s, locus);
    }
    count_work(*G);
    return n_underflows;
}

/// Sets group `s`, between segments s - 1 and s, where segment s starts at `locus`. Returns 1 if the products
/// underflowed, else 0.
int haplotype_segment::set_inner_group(const hmm_parameters& M, genotype_graph* G, int s, int locus) {
    const int n_left = static_cast<int>(G->seg_count[s - 1]), n_right = static_cast<int>(G->seg_count[s]);
    const flow left{stored(buffers.alpha, s - 1), &buffers.alpha_sum[s - 1 - segment_first], M.tn[locus - 1],
                    M.nt[locus - 1], n_left};
    kernel.pair_sums(left, stored(buffers.beta, s), n_right, K(), pair_prob);
    return weigh_inner_group(*G, s, pair_prob, buffers.group_prob);
}
