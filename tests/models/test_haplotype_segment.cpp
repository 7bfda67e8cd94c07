#include "models/haplotype_segment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <random>

#include "support/child_process.h"
#include "support/graph_text.h"
#include "support/haplotype_text.h"
#include "utils/my_exception.h"

namespace {

using support::built_from;
using support::graph_from;

/// The probability in groups that no run has written.
constexpr float UNTOUCHED = 7.0F;

/// A model over `n_loci` variants with the given emissions; jumps with probability `t` are shared by
/// `n_states` states.
hmm_parameters model(int n_loci, double t, double mismatch, int n_states) {
    hmm_parameters M;
    M.t.assign(std::max(n_loci - 1, 0), t);
    M.tn.assign(M.t.size(), t / n_states);
    M.nt.assign(M.t.size(), 1.0 - t);
    M.em_match = 1.0 - mismatch;
    M.em_mismatch = mismatch;
    M.em_match_n = M.em_match / n_states;
    M.em_mismatch_n = M.em_mismatch / n_states;
    return M;
}

hmm_parameters random_model(int n_loci, int n_states, std::mt19937& random) {
    hmm_parameters M = model(n_loci, 0.0, 0.001 * (1.0 + static_cast<double>(random() % 50)), n_states);
    for (std::size_t i = 0; i < M.t.size(); ++i) {
        M.t[i] = static_cast<double>(random() % 1000) / 2000.0;
        M.nt[i] = 1.0 - M.t[i];
        M.tn[i] = M.t[i] / n_states;
    }
    return M;
}

/// A run of segments within a graph.
struct run {
    int first_segment, last_segment, first_locus, last_locus;
};

run segments_of(const genotype_graph& graph, int first, int last) {
    run r{first, last, 0, -1};
    for (int s = 0; s < first; ++s) r.first_locus += static_cast<int>(graph.seg_length[s]);
    for (int s = 0; s <= last; ++s) r.last_locus += static_cast<int>(graph.seg_length[s]);
    return r;
}

run whole(const genotype_graph& graph) {
    return segments_of(graph, 0, graph.n_segments() - 1);
}

int expect_over(genotype_graph& graph, const run& r, const hmm_parameters& M,
                const std::vector<chaplotype>& H, const std::vector<int>& idx) {
    std::fill(graph.trans_prob.begin(), graph.trans_prob.end(), UNTOUCHED);
    segment_buffers buffers;
    haplotype_segment segment(H, idx, {r.first_locus, r.last_locus, r.first_segment, r.last_segment},
                              buffers);
    return segment.expectation(M, &graph);
}

std::vector<chaplotype> random_haplotypes(int n, int n_loci, std::mt19937& random) {
    std::vector<chaplotype> H;
    for (int h = 0; h < n; ++h) H.push_back(support::haplotype(support::random_alleles(n_loci, random)));
    return H;
}

std::vector<int> all_of(const std::vector<chaplotype>& H) {
    std::vector<int> idx;
    for (int h = 0; h < static_cast<int>(H.size()); ++h) idx.push_back(h);
    return idx;
}

// ---- against the sum over all paths of states

/// Mass of each sequence of candidates of a run: the sum over all sequences of copied haplotypes.
std::map<std::vector<int>, double> masses(const genotype_graph& graph, const run& r, const hmm_parameters& M,
                                          const std::vector<chaplotype>& H, const std::vector<int>& idx) {
    std::map<std::vector<int>, double> mass;
    std::vector<int> candidates;
    const std::function<double(int, int, int, int)> from_locus = [&](int l, int s, int i, int k_before) {
        if (l > r.last_locus) return 1.0;
        double sum = 0.0;
        const int allele = graph.getA(s, candidates[s - r.first_segment], i);
        for (int k = 0; k < static_cast<int>(idx.size()); ++k) {
            double p = H[idx[k]].get(l) == allele ? M.em_match : M.em_mismatch;
            if (l > r.first_locus) p *= M.tn[l - 1] + (k == k_before ? M.nt[l - 1] : 0.0);
            const bool at_end = i + 1 == static_cast<int>(graph.seg_length[s]);
            sum += p * (at_end ? from_locus(l + 1, s + 1, 0, k) : from_locus(l + 1, s, i + 1, k));
        }
        return sum;
    };
    const std::function<void()> choose = [&] {
        const int s = r.first_segment + static_cast<int>(candidates.size());
        if (s > r.last_segment) {
            mass[candidates] = from_locus(r.first_locus, r.first_segment, 0, -1);
            return;
        }
        for (int c = 0; c < static_cast<int>(graph.seg_count[s]); ++c) {
            candidates.push_back(c);
            choose();
            candidates.pop_back();
        }
    };
    choose();
    return mass;
}

/// Probabilities of the transitions of group `g` from the haploid shares of left and right candidates.
std::vector<double> group_law(const genotype_graph& graph, const run& r, int g,
                              const std::map<std::vector<int>, double>& mass) {
    // Share of the mass of the sequences that pass from candidate `left` to candidate `right` at this group.
    std::map<std::pair<int, int>, double> share;
    double total = 0.0;
    for (const auto& [candidates, m] : mass) {
        const int left = g > r.first_segment ? candidates[g - 1 - r.first_segment] : 0;
        const int right = g <= r.last_segment ? candidates[g - r.first_segment] : 0;
        share[{left, right}] += m;
        total += m;
    }
    std::vector<double> law;
    double sum = 0.0;
    for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t) {
        const int b0 = graph.trans_nodes[2 * t], b1 = graph.trans_nodes[2 * t + 1];
        law.push_back(share[{b0 % 16, b0 / 16}] / total * (share[{b1 % 16, b1 / 16}] / total));
        sum += law.back();
    }
    for (double& p : law) p /= sum;
    return law;
}

struct tiny_case {
    const char* name;
    const char* graph;
};

const std::vector<tiny_case> TINY = {
    {"one_segment", R"(
        >0 >1 | >1 >1
        [010 110]
        0> 1> | 1> 1>
    )"},
    {"two_segments", R"(
        >0 >1 | >2 >2
        [01 11 00]
        0>0 1>1 | 0>1 1>0 | 2>1 2>1
        [100 011]
        0> 1> | 1> 1>
    )"},
    {"three_segments", R"(
        >0 >1
        [0 1]
        0>0 1>1 | 0>1 1>0 | 0>2 1>2
        [00 11 10]
        0>0 1>0 | 2>0 2>1 | 1>1 0>1
        [01 10]
        0> 1> | 1> 1> | 0> 0>
    )"},
    {"single_loci", R"(
        >0 >1
        [0 1]
        0>0 1>1 | 0>1 1>0
        [0 1]
        0>0 1>1 | 0>1 1>0
        [0 1]
        0>0 1>0
        [1]
        0> 0>
    )"},
};

class tiny_segments : public ::testing::TestWithParam<tiny_case> {};

TEST_P(tiny_segments, AgreeWithTheSumOverAllPaths) {
    std::mt19937 random(1);
    for (int trial = 0; trial < 20; ++trial) {
        genotype_graph graph = graph_from(GetParam().graph);
        const int n_loci = graph.n_loci(), K = 5 + trial % 2;
        const std::vector<chaplotype> H = random_haplotypes(9, n_loci, random);
        std::vector<int> idx = all_of(H);
        std::shuffle(idx.begin(), idx.end(), random);
        idx.resize(K);
        if (trial % 4 == 0) idx[1] = idx[0];  // two states may copy the same haplotype
        const hmm_parameters M = random_model(n_loci, trial % 3 == 0 ? 100 : K, random);
        for (int first = 0; first < graph.n_segments(); ++first)
            for (int last = first; last < graph.n_segments(); ++last) {
                const run r = segments_of(graph, first, last);
                EXPECT_EQ(expect_over(graph, r, M, H, idx), 0);
                const auto mass = masses(graph, r, M, H, idx);
                for (int g = 0; g < graph.n_groups(); ++g) {
                    const bool within = (g > first && g <= last) || (g == 0 && first == 0) ||
                                        (g == graph.n_segments() && last == graph.n_segments() - 1);
                    std::vector<double> law(graph.trans_count[g], UNTOUCHED);
                    if (within) law = group_law(graph, r, g, mass);
                    for (unsigned k = 0; k < graph.trans_count[g]; ++k) {
                        const double p = graph.trans_prob[graph.trans_offset[g] + k];
                        // Stored as float: exact to half a unit of the 24th bit, plus 1e-9.
                        ASSERT_NEAR(p, law[k], law[k] * (std::ldexp(1.0, -24) + 1e-9))
                            << "segments " << first << " to " << last << ", group " << g << ", transition "
                            << k;
                    }
                }
            }
    }
}

INSTANTIATE_TEST_SUITE_P(HaplotypeSegment, tiny_segments, ::testing::ValuesIn(TINY),
                         [](const auto& test) { return test.param.name; });

TEST(HaplotypeSegment, PairMassIsThatOfAllPaths) {
    std::mt19937 random(2);
    for (int trial = 0; trial < 20; ++trial) {
        const genotype_graph drawn = graph_from(TINY[1].graph);
        genotype_graph graph = drawn;
        const std::vector<chaplotype> H = random_haplotypes(6, 5, random);
        const std::vector<int> idx = all_of(H);
        const hmm_parameters M = random_model(5, 6, random);
        segment_buffers buffers;
        haplotype_segment segment(H, idx, {0, 4, 0, 1}, buffers);
        segment.expectation(M, &graph);
        const auto mass = masses(graph, whole(graph), M, H, idx);
        double total = 0.0, pair_total = 0.0;
        for (const auto& [candidates, m] : mass) total += m;
        for (int c = 0; c < 3; ++c)
            for (int d = 0; d < 2; ++d) pair_total += segment.pair_prob[c][d];
        for (const auto& [candidates, m] : mass) {
            const double share = segment.pair_prob[candidates[0]][candidates[1]] / pair_total;
            EXPECT_NEAR(share, m / total, 1e-9 * m / total);
        }
    }
}

// ---- against a reference implementation, bit for bit

/// The two passes in plain loops over columns with one candidate after another.
class plain_segment {
  public:
    plain_segment(const genotype_graph& graph, const run& r, const hmm_parameters& model,
                  const std::vector<chaplotype>& haplotypes, const std::vector<int>& indices)
        : G(graph), range(r), M(model), H(haplotypes), idx(indices), K(static_cast<int>(indices.size())) {
        for (int s = r.first_segment; s <= r.last_segment; ++s)
            for (unsigned i = 0; i < G.seg_length[s]; ++i) places.push_back({s, static_cast<int>(i)});
    }

    /// Probabilities of group `g`, and the number of underflows so far.
    std::vector<float> group(int g) {
        const auto forward = pass(true), backward = pass(false);
        std::vector<double> weights;
        const auto add_all = [&](auto haploid, bool as_sum) {
            weights.clear();
            for (unsigned t = G.trans_offset[g]; t < G.trans_offset[g] + G.trans_count[g]; ++t) {
                const double p = haploid(G.trans_nodes[2 * t]), q = haploid(G.trans_nodes[2 * t + 1]);
                weights.push_back(as_sum ? p + q : p * q);
            }
            double sum = 0.0;
            for (const double w : weights) sum += w;
            return sum;
        };
        double sum = 0.0;
        double floor = 0.0;
        if (g > range.first_segment && g <= range.last_segment) {
            int r = 0;
            while (places[r].segment < g) ++r;
            const int n_left = count(g - 1), n_right = count(g);
            const double tn = M.tn[range.first_locus + r - 1], nt = M.nt[range.first_locus + r - 1];
            std::vector<std::vector<double>> pair(n_left, std::vector<double>(n_right, 0.0));
            double total = 0.0;
            for (int c = 0; c < n_left; ++c)
                for (int d = 0; d < n_right; ++d) {
                    for (int k = 0; k < K; ++k)
                        pair[c][d] += (forward[r - 1].sum[c] * tn + nt * forward[r - 1].value[c * K + k]) *
                                      backward[r].value[d * K + k];
                    total += pair[c][d];
                }
            const auto haploid = [&](int byte) { return pair[byte % 16][byte / 16] / total; };
            sum = add_all(haploid, false);
            floor = 1e-30;
            if (sum < 1e-300) {
                ++n_recovered;
                sum = add_all(haploid, true);
            }
        } else {
            const bool entering = g == 0;
            const std::vector<double>& mass = entering ? backward.front().sum : forward.back().sum;
            double total = 0.0;
            for (const double m : mass) total += m;
            sum = add_all([&](int byte) { return mass[entering ? byte / 16 : byte % 16] / total; }, false);
        }
        std::vector<float> group;
        for (const double w : weights) group.push_back(static_cast<float>(std::max(w / sum, floor)));
        return group;
    }
    int n_recovered = 0;

    /// Sums of the forward column at the last locus of segment `s`, and of the backward one at the first
    /// locus.
    std::vector<double> forward_sums(int s) const {
        int r = 0;
        while (r + 1 < static_cast<int>(places.size()) && places[r + 1].segment <= s) ++r;
        return pass(true)[r].sum;
    }
    std::vector<double> backward_sums() const { return pass(false).front().sum; }

  private:
    struct place {
        int segment, position;
    };
    struct column {
        std::vector<double> value, sum;
    };

    int count(int s) const { return static_cast<int>(G.seg_count[s]); }

    std::vector<column> pass(bool is_forward) const {
        const int n = static_cast<int>(places.size());
        std::vector<column> columns(n);
        for (int step = 0; step < n; ++step) {
            const int r = is_forward ? step : n - 1 - step, l = range.first_locus + r;
            const int other = is_forward ? r - 1 : r + 1, interval = is_forward ? l - 1 : l;
            const place at = places[r];
            column& now = columns[r];
            for (int c = 0; c < count(at.segment); ++c) {
                now.sum.push_back(0.0);
                for (int k = 0; k < K; ++k) {
                    const bool match = H[idx[k]].get(l) == G.getA(at.segment, c, at.position);
                    double value = 0.0;
                    if (step == 0 && !is_forward) {
                        value = match ? M.em_match_n : M.em_mismatch_n;
                    } else {
                        if (step == 0)
                            value = 1.0;
                        else if (places[other].segment == at.segment)
                            value = columns[other].sum[c] * M.tn[interval] +
                                    M.nt[interval] * columns[other].value[c * K + k];
                        else
                            for (int d = 0; d < count(places[other].segment); ++d)
                                value += columns[other].sum[d] * M.tn[interval] +
                                         M.nt[interval] * columns[other].value[d * K + k];
                        value *= match ? M.em_match : M.em_mismatch;
                    }
                    now.value.push_back(value);
                    now.sum[c] += value;
                }
            }
            if (r % 50 != 0) continue;
            double total = 0.0;
            for (const double sum : now.sum) total += sum;
            for (double& value : now.value) value /= total;
            for (double& sum : now.sum) sum /= total;
        }
        return columns;
    }

    const genotype_graph& G;
    run range;
    const hmm_parameters& M;
    const std::vector<chaplotype>& H;
    const std::vector<int>& idx;
    int K;
    std::vector<place> places;  // segment and position of each locus of the run
};

void expect_same_bits(genotype_graph& graph, const run& r, const hmm_parameters& M,
                      const std::vector<chaplotype>& H, const std::vector<int>& idx) {
    std::fill(graph.trans_prob.begin(), graph.trans_prob.end(), UNTOUCHED);
    segment_buffers buffers;
    haplotype_segment segment(H, idx, {r.first_locus, r.last_locus, r.first_segment, r.last_segment},
                              buffers);
    const int n_recovered = segment.expectation(M, &graph);
    plain_segment plain(graph, r, M, H, idx);
    const auto expect_sums = [](const column_kernels::lanes& sums, const std::vector<double>& expected) {
        for (int c = 0; c < static_cast<int>(expected.size()); ++c)
            ASSERT_EQ(std::bit_cast<std::uint64_t>(sums[c]), std::bit_cast<std::uint64_t>(expected[c]));
    };
    for (int s = r.first_segment; s <= r.last_segment; ++s)
        expect_sums(buffers.alpha_sum[s - r.first_segment], plain.forward_sums(s));
    if (r.first_locus == 0) expect_sums(segment.beta_sum, plain.backward_sums());
    for (int g = 0; g < graph.n_groups(); ++g) {
        const bool within = (g > r.first_segment && g <= r.last_segment) ||
                            (g == 0 && r.first_segment == 0) ||
                            (g == graph.n_segments() && r.last_segment == graph.n_segments() - 1);
        const std::vector<float> expected =
            within ? plain.group(g) : std::vector<float>(graph.trans_count[g], UNTOUCHED);
        for (unsigned k = 0; k < graph.trans_count[g]; ++k)
            ASSERT_EQ(std::bit_cast<std::uint32_t>(graph.trans_prob[graph.trans_offset[g] + k]),
                      std::bit_cast<std::uint32_t>(expected[k]))
                << "group " << g << ", transition " << k;
    }
    EXPECT_EQ(n_recovered, plain.n_recovered);
}

TEST(HaplotypeSegment, AgreesWithReferenceBitForBit) {
    std::mt19937 random(3);
    for (int trial = 0; trial < 25; ++trial) {
        const int n_loci = 5 + static_cast<int>(random() % 60);
        genotype_graph graph = built_from(support::random_genotypes(n_loci, 40, 10, random));
        const std::vector<chaplotype> H = random_haplotypes(30, n_loci, random);
        std::vector<int> idx = all_of(H);
        std::shuffle(idx.begin(), idx.end(), random);
        idx.resize(1 + random() % 20);
        const hmm_parameters M = random_model(n_loci, 20, random);
        int first = static_cast<int>(random() % graph.n_segments()),
            last = static_cast<int>(random() % graph.n_segments());
        if (first > last) std::swap(first, last);
        SCOPED_TRACE("trial " + std::to_string(trial));
        expect_same_bits(graph, segments_of(graph, first, last), M, H, idx);
        expect_same_bits(graph, whole(graph), M, H, idx);
    }
}

TEST(HaplotypeSegment, RescalesEveryFiftyLociFromTheLeft) {
    std::mt19937 random(4);
    const int n_loci = 260;
    genotype_graph graph = built_from(support::random_genotypes(n_loci, 4, 1, random));
    const std::vector<chaplotype> H = random_haplotypes(8, n_loci, random);
    // Without rescaling, the mass of 260 loci of such mismatches is below the range of a double.
    const hmm_parameters M = model(n_loci, 1e-4, 1e-6, 8);
    expect_same_bits(graph, whole(graph), M, H, all_of(H));
    const run r = segments_of(graph, 1, graph.n_segments() - 2);
    ASSERT_GT(r.last_locus - r.first_locus, 150);
    expect_same_bits(graph, r, M, H, all_of(H));
}

TEST(HaplotypeSegment, BuffersOfALargerJobMayBeReused) {
    std::mt19937 random(5);
    segment_buffers buffers;
    const std::vector<chaplotype> H = random_haplotypes(40, 50, random);
    for (const int K : {40, 3, 17}) {
        genotype_graph graph = built_from(support::random_genotypes(K == 3 ? 10 : 50, 40, 10, random));
        genotype_graph fresh = graph;
        std::vector<int> chosen = all_of(H);
        chosen.resize(K);
        const hmm_parameters M = random_model(50, 40, random);
        const run r = whole(graph);
        haplotype_segment segment(H, chosen, {r.first_locus, r.last_locus, r.first_segment, r.last_segment},
                                  buffers);
        segment.expectation(M, &graph);
        expect_over(fresh, r, M, H, chosen);
        EXPECT_EQ(graph.trans_prob, fresh.trans_prob);
    }
}

// ---- examples of passes

TEST(Passes, OneLocus) {
    // Three haplotypes 0 0 1 and candidates 0 and 1: sums of 2 * 0.75 + 0.25 and 2 * 0.25 + 0.75, rescaled by
    // their total of 3.
    const genotype_graph graph = graph_from(">0 >1\n[0 1]\n0> 1>");
    const std::vector<chaplotype> H = support::haplotypes({"0", "0", "1"});
    const std::vector<int> idx = all_of(H);
    const hmm_parameters M = model(1, 0.0, 0.25, 4);
    segment_buffers buffers;
    haplotype_segment segment(H, idx, {0, 0, 0, 0}, buffers);
    segment.forward(M, &graph);
    EXPECT_EQ(buffers.alpha_sum[0][0], 1.75 / 3);
    EXPECT_EQ(buffers.alpha_sum[0][1], 1.25 / 3);
    EXPECT_EQ(buffers.alpha[0][0], 0.75 / 3);
    EXPECT_EQ(buffers.alpha[2][1], 0.75 / 3);
    segment.backward(M, &graph);
    EXPECT_DOUBLE_EQ(segment.beta_sum[0], 1.75 / 3);
    EXPECT_DOUBLE_EQ(segment.beta_sum[1], 1.25 / 3);
}

TEST(Passes, EmptyRangeReturnsAtOnce) {
    const genotype_graph graph = graph_from(">0 >1\n[0 1]\n0> 1>");
    const std::vector<chaplotype> H = support::haplotypes({"0", "1"});
    const std::vector<int> idx = all_of(H);
    const hmm_parameters M = model(1, 0.0, 0.25, 2);
    segment_buffers buffers;
    haplotype_segment segment(H, idx, {1, 0, 0, 0}, buffers);
    segment.forward(M, &graph);
    segment.backward(M, &graph);
    for (const auto* columns : {&buffers.alpha, &buffers.beta})
        for (const auto& row : *columns)
            for (const double value : row.value) EXPECT_EQ(value, 0.0);
    for (const double value : segment.beta_sum.value) EXPECT_EQ(value, 0.0);
}

// ---- which groups are written

TEST(Expectation, SingleInnerSegmentWritesNothing) {
    genotype_graph graph = graph_from(TINY[2].graph);
    std::mt19937 random(6);
    const std::vector<chaplotype> H = random_haplotypes(5, 5, random);
    EXPECT_EQ(expect_over(graph, segments_of(graph, 1, 1), model(5, 0.1, 0.1, 5), H, all_of(H)), 0);
    EXPECT_EQ(graph.trans_prob, std::vector<float>(graph.trans_prob.size(), UNTOUCHED));
}

TEST(Expectation, OneSegmentSetsFirstAndLastGroup) {
    genotype_graph graph = graph_from(R"(
        >0 >1 | >0 >0
        [0 1]
        0> 1> | 1> 1>
    )");
    const std::vector<chaplotype> H = support::haplotypes({"0", "0", "1"});
    EXPECT_EQ(expect_over(graph, whole(graph), model(1, 0.0, 0.25, 3), H, all_of(H)), 0);
    // The haploid shares are 7/12 and 5/12: 35 to 49 in the first group, 35 to 25 in the last.
    EXPECT_FLOAT_EQ(graph.trans_prob[0], 35.0F / 84.0F);
    EXPECT_FLOAT_EQ(graph.trans_prob[1], 49.0F / 84.0F);
    EXPECT_FLOAT_EQ(graph.trans_prob[2], 35.0F / 60.0F);
    EXPECT_FLOAT_EQ(graph.trans_prob[3], 25.0F / 60.0F);
}

// ---- underflow

/// Candidate 1 never matches, and the mismatch is 1e-200: products of its transitions underflow.
TEST(Expectation, UnderflowingProductsAreReplacedBySums) {
    genotype_graph graph = graph_from(R"(
        >0 >1
        [0 1]
        1>1 1>1 | 1>0 1>1 | 1>1 1>0
        [0 1]
        0> 1>
    )");
    const std::vector<chaplotype> H = support::haplotypes({"00", "00", "00", "00", "00"});
    hmm_parameters M = model(2, 0.5, 0.0, 5);
    M.em_mismatch = 1e-200;
    M.em_mismatch_n = 1e-200 / 5;
    EXPECT_EQ(expect_over(graph, whole(graph), M, H, all_of(H)), 1);
    // Shares: 1 to 0 is 1e-200 and 1 to 1 is 0, so the sums are 0, 1e-200 and 1e-200.
    EXPECT_EQ(graph.trans_prob[1], 1e-30F) << "no inner transition has probability 0";
    EXPECT_FLOAT_EQ(graph.trans_prob[2], 0.5F);
    EXPECT_FLOAT_EQ(graph.trans_prob[3], 0.5F);
}

TEST(Expectation, CountsTheUnderflowsOfAllGroups) {
    struct underflow_row {
        const char* first;  // steps of the first inner group
        const char* second;
        int n_underflows;
    };
    const char* const common = "0>0 0>0";
    const char* const rare = "1>1 1>1 | 1>0 1>1 | 1>1 1>0";
    const std::vector<chaplotype> H = support::haplotypes({"000", "000", "000", "000", "000"});
    hmm_parameters M = model(3, 0.5, 0.0, 5);
    M.em_mismatch = 1e-200;
    M.em_mismatch_n = 1e-200 / 5;
    for (const underflow_row& r : {underflow_row{common, common, 0}, underflow_row{rare, common, 1},
                                   underflow_row{common, rare, 1}, underflow_row{rare, rare, 2}}) {
        genotype_graph graph =
            graph_from(std::string(">0 >1\n[0 1]\n") + r.first + "\n[0 1]\n" + r.second + "\n[0 1]\n0> 1>\n");
        EXPECT_EQ(expect_over(graph, whole(graph), M, H, all_of(H)), r.n_underflows)
            << r.first << " and " << r.second;
    }
}

TEST(Expectation, SumsWeightBothChromosomesEqually) {
    genotype_graph graph = graph_from(R"(
        >0 >1
        [00 01 10 11]
        1>0 2>0 | 1>0 3>0
        [0 1]
        0> 1>
    )");
    const std::vector<chaplotype> H = support::haplotypes({"000", "000", "000", "000", "000"});
    hmm_parameters M = model(3, 0.5, 0.0, 5);
    M.em_mismatch = 1e-160;
    M.em_mismatch_n = 1e-160 / 5;
    EXPECT_EQ(expect_over(graph, whole(graph), M, H, all_of(H)), 1);
    // One mismatch at either locus gives the same small share, and two give none.
    EXPECT_FLOAT_EQ(graph.trans_prob[1], 2.0F / 3.0F);
    EXPECT_FLOAT_EQ(graph.trans_prob[2], 1.0F / 3.0F);
}

TEST(Expectation, EmptyGroupCountsAsUnderflow) {
    genotype_graph graph("NA1");
    graph.pushTrans({step_byte(0, 0), step_byte(0, 1)});
    graph.pushHaps(support::haplotype("0 1"), 2);
    graph.pushTrans({});
    graph.pushHaps(support::haplotype("0 1"), 2);
    graph.pushTrans({step_byte(0, 0), step_byte(1, 0)});
    graph.site_ambiguous = support::haplotype("11");
    graph.site_missing = support::haplotype("00");
    const std::vector<chaplotype> H = support::haplotypes({"00", "01", "10", "11", "00"});
    EXPECT_EQ(expect_over(graph, segments_of(graph, 0, 1), model(2, 0.1, 0.1, 5), H, all_of(H)), 1);
    EXPECT_EQ(graph.trans_prob, (std::vector<float>{1.0F, 1.0F}));
}

TEST(Expectation, ImpossibleInnerTransitionsGetASmallProbability) {
    // With a mismatch of 0, candidate 1 of either segment is impossible.
    genotype_graph graph = graph_from(R"(
        >0 >0 | >0 >1
        [0 1]
        0>0 0>0 | 0>1 0>0 | 1>0 1>1
        [0 1]
        0> 0> | 1> 1>
    )");
    const std::vector<chaplotype> H = support::haplotypes({"00", "00", "00", "00", "00"});
    EXPECT_EQ(expect_over(graph, whole(graph), model(2, 0.1, 0.0, 5), H, all_of(H)), 0);
    EXPECT_EQ(graph.trans_prob, (std::vector<float>{1.0F, 0.0F, 1.0F, 1e-30F, 1e-30F, 1.0F, 0.0F}))
        << "the first and the last group keep their zeros";
}

std::string failure_of(genotype_graph& graph, const hmm_parameters& M, const std::vector<chaplotype>& H) {
    try {
        expect_over(graph, whole(graph), M, H, all_of(H));
    } catch (const myException& failure) {
        return failure.msg;
    }
    return "none";
}

TEST(Expectation, ZeroMassThrows) {
    genotype_graph graph = graph_from(R"(
        >0 >0
        [0]
        0>0 0>0
        [1]
        0> 0>
    )");
    graph.name = "Ann";
    const std::vector<chaplotype> H = support::haplotypes({"00", "00", "00", "00", "00"});
    EXPECT_EQ(failure_of(graph, model(2, 0.1, 0.0, 5), H),
              "Underflow in expectation haploid / i=Ann b=1 sp=0.0000000000");
}

TEST(Expectation, NaNMassThrows) {
    genotype_graph graph = graph_from(TINY[2].graph);
    graph.name = "Ann";
    std::mt19937 random(7);
    const std::vector<chaplotype> H = random_haplotypes(5, 5, random);
    hmm_parameters M = model(5, 0.1, 0.1, 5);
    M.nt[2] = std::numeric_limits<double>::quiet_NaN();  // between the second and the third segment
    const std::string failure = failure_of(graph, M, H);
    EXPECT_EQ(failure.substr(0, failure.find("nan")), "Nan in expectation haploid / i=Ann b=1 sp=")
        << "the NaN reaches group 1 through the backward pass";
}

// ---- the largest group

genotype_graph graph_with_large_group(int n, int group) {
    genotype_graph graph("NA1");
    for (int g = 0; g < 3; ++g) {
        graph.pushTrans(std::vector<unsigned char>(2 * (g == group ? n : 1)));
        if (g < 2) graph.pushHaps(support::haplotype("0"), 1);
    }
    graph.site_ambiguous = graph.site_missing = support::haplotype("00");
    return graph;
}

TEST(Expectation, GroupsHaveUpTo8192Transitions) {
    const std::vector<chaplotype> H = support::haplotypes({"00", "01", "10", "11", "00"});
    const hmm_parameters M = model(2, 0.1, 0.1, 5);
    for (const int group : {0, 1, 2}) {
        genotype_graph largest = graph_with_large_group(8192, group);
        expect_over(largest, whole(largest), M, H, all_of(H));
        EXPECT_FLOAT_EQ(largest.trans_prob[group], 1.0F / 8192.0F);
        EXPECT_TRUE(support::aborts_on("n_trans <= 8192", [&] {
            genotype_graph larger = graph_with_large_group(8193, group);
            expect_over(larger, whole(larger), M, H, all_of(H));
        }));
    }
}

// ---- work

TEST(ModelWork, AddsUp) {
    model_work sum, other;
    for (int c = 0; c <= column_kernels::LANES; ++c) {
        sum.rows[c] = c + 1;
        other.rows[c] = 10L * c;
        for (int d = 0; d <= column_kernels::LANES; ++d) {
            sum.pair_rows[c][d] = 100L * c + d + 1;
            other.pair_rows[c][d] = 1000L * c;
        }
    }
    sum += other;
    for (int c = 0; c <= column_kernels::LANES; ++c) {
        EXPECT_EQ(sum.rows[c], 11L * c + 1);
        for (int d = 0; d <= column_kernels::LANES; ++d) EXPECT_EQ(sum.pair_rows[c][d], 1100L * c + d + 1);
    }
}

}  // namespace
