#include "models/haplotype_segment.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "utils/assertion.h"
#include "utils/my_exception.h"
#include "utils/sutils.h"

namespace {

using column_kernels::emissions;
using column_kernels::flow;
using column_kernels::lanes;
using column_kernels::LANES;

constexpr int RESCALING_PERIOD = 50;  // loci
constexpr int LARGEST_GROUP = 8192;   // transitions
constexpr double SMALLEST_MASS = 1e-300;
constexpr double SMALLEST_PROBABILITY = 1e-30;
constexpr int LEFT_NIBBLE = 0;  // shift of a transition byte
constexpr int RIGHT_NIBBLE = 4;

/// Emission probabilities of the candidates at position `i` of segment `s`; 0 beyond the last candidate.
emissions emissions_at(const genotype_graph& G, int s, int i, double match, double mismatch) {
    emissions em{};
    for (int c = 0; c < static_cast<int>(G.seg_count[s]); ++c) {
        const int allele = G.getA(s, c, i);
        em[allele][c] = match;
        em[1 - allele][c] = mismatch;
    }
    return em;
}

/// Two jobs of one individual share two segments and both write the group between them. Which one comes last
/// is left open with several threads; each single float is written whole.
void write_shared(float& target, double value) {
    std::atomic_ref<float>(target).store(static_cast<float>(value), std::memory_order_relaxed);
}

}  // namespace

haplotype_segment::haplotype_segment(const std::vector<chaplotype>& haplotypes,
                                     const std::vector<int>& indices, int first_segment, int last_segment,
                                     int first_locus, int last_locus)
    : segment_first(first_segment),
      segment_last(last_segment),
      locus_first(first_locus),
      locus_last(last_locus),
      H(&haplotypes),
      idx(&indices),
      group_prob(LARGEST_GROUP, 0.0),
      alleles(indices.size()) {
    const std::size_t column_size = LANES * indices.size();
    const std::size_t n_segments = std::max(last_segment - first_segment + 1, 0);
    prob_odd.assign(column_size, 0.0);
    prob_even.assign(column_size, 0.0);
    alpha.assign(n_segments * column_size, 0.0);
    beta.assign(n_segments * column_size, 0.0);
    alpha_sum.assign(n_segments, lanes{});
}

void haplotype_segment::read_alleles(int locus) {
    for (std::size_t k = 0; k < alleles.size(); ++k)
        alleles[k] = static_cast<unsigned char>((*H)[(*idx)[k]].get(locus));
}

void haplotype_segment::rescale_at(int distance, int n_candidates) {
    if (distance % RESCALING_PERIOD == 0)
        column_kernels::rescale(n_candidates, K(), column(distance), sums(distance));
}

void haplotype_segment::forward(const hmm_parameters& M, const genotype_graph* G) {
    int l = locus_first;
    for (int s = segment_first; s <= segment_last && l <= locus_last; ++s) {
        const int n_candidates = static_cast<int>(G->seg_count[s]),
                  length = static_cast<int>(G->seg_length[s]);
        for (int i = 0; i < length; ++i, ++l) {
            const int r = l - locus_first;
            const emissions em = emissions_at(*G, s, i, M.em_match, M.em_mismatch);
            read_alleles(l);
            if (r == 0) {
                column_kernels::start(em, alleles.data(), K(), column(r), sums(r));
            } else {
                const flow from{column(r - 1), &sums(r - 1), M.tn[l - 1], M.nt[l - 1]};
                if (i > 0)
                    column_kernels::step_inside(from, em, alleles.data(), K(), column(r), sums(r));
                else
                    column_kernels::step_across(from, static_cast<int>(G->seg_count[s - 1]), em,
                                                alleles.data(), K(), column(r), sums(r));
            }
            rescale_at(r, n_candidates);
        }
        const int r = l - 1 - locus_first;
        std::copy_n(column(r), LANES * K(), stored(alpha, s));
        alpha_sum[s - segment_first] = sums(r);
    }
}

void haplotype_segment::backward(const hmm_parameters& M, const genotype_graph* G) {
    int l = locus_last;
    for (int s = segment_last; s >= segment_first && l >= locus_first; --s) {
        const int n_candidates = static_cast<int>(G->seg_count[s]),
                  length = static_cast<int>(G->seg_length[s]);
        for (int i = length - 1; i >= 0; --i, --l) {
            const int r = l - locus_first;  // parity and period count from the left end in this pass too
            read_alleles(l);
            if (l == locus_last) {
                const emissions em = emissions_at(*G, s, i, M.em_match_n, M.em_mismatch_n);
                column_kernels::start(em, alleles.data(), K(), column(r), sums(r));
            } else {
                const emissions em = emissions_at(*G, s, i, M.em_match, M.em_mismatch);
                const flow from{column(r + 1), &sums(r + 1), M.tn[l], M.nt[l]};
                if (i < length - 1)
                    column_kernels::step_inside(from, em, alleles.data(), K(), column(r), sums(r));
                else
                    column_kernels::step_across(from, static_cast<int>(G->seg_count[s + 1]), em,
                                                alleles.data(), K(), column(r), sums(r));
            }
            rescale_at(r, n_candidates);
        }
        const int r = l + 1 - locus_first;
        if (r > 0) std::copy_n(column(r), LANES * K(), stored(beta, s));
        if (l + 1 == 0) beta_sum = sums(r);
    }
}

int haplotype_segment::expectation(const hmm_parameters& M, genotype_graph* G) {
    forward(M, G);
    const int S = G->n_segments();
    if (segment_last == S - 1)
        set_end_group(G, S, alpha_sum.back(), static_cast<int>(G->seg_count[S - 1]), LEFT_NIBBLE);
    backward(M, G);
    if (segment_first == 0) set_end_group(G, 0, beta_sum, static_cast<int>(G->seg_count[0]), RIGHT_NIBBLE);

    int n_underflows = 0;
    int locus = locus_first;
    for (int s = segment_first + 1; s <= segment_last; ++s) {
        locus += static_cast<int>(G->seg_length[s - 1]);
        n_underflows += set_inner_group(M, G, s, locus);
    }
    return n_underflows;
}

/// Sets the entering or the leaving group from the haploid mass of each candidate.
void haplotype_segment::set_end_group(genotype_graph* G, int g, const lanes& mass, int n_candidates,
                                      int shift) {
    double total = 0.0;
    for (int c = 0; c < n_candidates; ++c) total += mass[c];
    const unsigned first = G->trans_offset[g];
    const int n_trans = static_cast<int>(G->trans_count[g]);
    const auto haploid = [&](unsigned char step) { return mass[(step >> shift) & 15] / total; };
    TOLVANE_ASSERT(n_trans <= LARGEST_GROUP, "n_trans <= 8192");
    double sum = 0.0;
    for (int t = 0; t < n_trans; ++t) {
        const unsigned char* steps = &G->trans_nodes[2 * (first + t)];
        group_prob[t] = haploid(steps[0]) * haploid(steps[1]);
        sum += group_prob[t];
    }
    for (int t = 0; t < n_trans; ++t) write_shared(G->trans_prob[first + t], group_prob[t] / sum);
}

/// Sets group `s`, between segments s - 1 and s, the latter of which starts at `locus`. Returns 1 when the
/// products underflowed, else 0.
int haplotype_segment::set_inner_group(const hmm_parameters& M, genotype_graph* G, int s, int locus) {
    const flow from{stored(alpha, s - 1), &alpha_sum[s - 1 - segment_first], M.tn[locus - 1],
                    M.nt[locus - 1]};
    column_kernels::pair_sums(from, stored(beta, s), K(), pair_prob);
    double total = 0.0;
    for (unsigned c = 0; c < G->seg_count[s - 1]; ++c)
        for (unsigned d = 0; d < G->seg_count[s]; ++d) total += pair_prob[c][d];
    const auto failure = [&](const std::string& fault) {
        return myException(fault + " in expectation haploid / i=" + G->name + " b=" + sutils::int2str(s) +
                           " sp=" + sutils::double2str(total, 10));
    };
    if (total < SMALLEST_MASS) throw failure("Underflow");
    if (std::isnan(total)) throw failure("Nan");

    const unsigned first = G->trans_offset[s];
    const int n_trans = static_cast<int>(G->trans_count[s]);
    TOLVANE_ASSERT(n_trans <= LARGEST_GROUP, "n_trans <= 8192");
    const auto haploid = [&](unsigned char step) { return pair_prob[step & 15][step >> 4] / total; };
    const auto weigh = [&](auto join) {
        double sum = 0.0;
        for (int t = 0; t < n_trans; ++t) {
            const unsigned char* steps = &G->trans_nodes[2 * (first + t)];
            group_prob[t] = join(haploid(steps[0]), haploid(steps[1]));
            sum += group_prob[t];
        }
        return sum;
    };
    double sum = weigh([](double p, double q) { return p * q; });
    const bool underflow = sum < SMALLEST_MASS;
    if (underflow) sum = weigh([](double p, double q) { return p + q; });
    for (int t = 0; t < n_trans; ++t)
        write_shared(G->trans_prob[first + t], std::max(group_prob[t] / sum, SMALLEST_PROBABILITY));
    return underflow;
}
