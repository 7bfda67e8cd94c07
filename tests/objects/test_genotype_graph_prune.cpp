#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <random>
#include <set>
#include <utility>

#include "objects/genotype_graph.h"
#include "support/child_process.h"
#include "support/graph_laws.h"
#include "support/graph_text.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "utils/my_exception.h"

namespace {

using support::built_from;
using support::graph_from;
using support::group_text;
using support::haplotype_pair;
using support::segment_text;

TEST(CompTransition, DescendingValues) {
    EXPECT_TRUE(compTransition({0.5F, 1}, {0.25F, 0}));
    EXPECT_FALSE(compTransition({0.25F, 0}, {0.5F, 1}));
    EXPECT_FALSE(compTransition({0.5F, 2}, {0.5F, 1})) << "the indexes are ignored";
    EXPECT_FALSE(compTransition({0.5F, 1}, {0.5F, 2}));
}

TEST(Sort, DescendingStoreInEachGroup) {
    genotype_graph graph = graph_from(R"(
        >0 >1 =.1 | >2 >3 =.7 | >0 >3 =.2
        [00 11 01 10]
        0> 1> =.3 | 2> 3> =.2 | 0> 3> =.5
    )");
    graph.trans_prob = {1, 2, 3, 4, 5, 6};
    graph.sort();
    EXPECT_EQ(group_text(graph, 0), "0>2 0>3, 0>0 0>3, 0>0 0>1");
    EXPECT_EQ(group_text(graph, 1), "0>0 3>0, 0>0 1>0, 2>0 3>0");
    EXPECT_EQ(graph.trans_store, (std::vector<float>{.7F, .2F, .1F, .5F, .3F, .2F}));
    EXPECT_EQ(graph.trans_prob, (std::vector<float>{1, 2, 3, 4, 5, 6})) << "the working probabilities stay";
}

TEST(Sort, EqualValuesAreInTheOrderOfStdSort) {
    std::mt19937 random(1);
    genotype_graph graph = built_from("........");
    for (float& p : graph.trans_store) p = static_cast<float>(random() % 5);
    const genotype_graph before = graph;
    graph.sort();
    for (int g = 0; g < graph.n_groups(); ++g) {
        std::vector<std::pair<float, int>> order;
        for (unsigned k = 0; k < graph.trans_count[g]; ++k)
            order.emplace_back(before.trans_store[graph.trans_offset[g] + k], static_cast<int>(k));
        std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
        for (unsigned k = 0; k < graph.trans_count[g]; ++k) {
            const unsigned t = graph.trans_offset[g] + k;
            ASSERT_EQ(graph.trans_store[t], order[k].first);
            ASSERT_EQ(support::transition_text(graph, t),
                      support::transition_text(before, graph.trans_offset[g] + order[k].second));
        }
    }
}

// ---- selection

/// One segment with three pairs on its left and three on its right.
genotype_graph three_pairs(const std::array<float, 3>& in, const std::array<float, 3>& out) {
    genotype_graph graph = graph_from(R"(
        >0 >1 | >2 >3 | >0 >0
        [00 11 01 10]
        0> 1> | 2> 3> | 0> 0>
    )");
    std::copy(in.begin(), in.end(), graph.trans_store.begin());
    std::copy(out.begin(), out.end(), graph.trans_store.begin() + 3);
    return graph;
}

TEST(PruneAndMerge, KeepsTheTransitionThatPassesTheThreshold) {
    struct row {
        const char* name;
        double threshold;
        std::array<float, 3> in, out;
        const char* expected;
    };
    for (const row& r :
         {row{"two of three", 0.99, {.98F, .015F, .005F}, {.995F, .003F, .002F}, "0>0 0>1, 0>2 0>3"},
          row{"the first is enough", 0.99, {.995F, .003F, .002F}, {.995F, .003F, .002F}, "0>0 0>1"},
          row{"the threshold itself is not above it",
              0.75,
              {.75F, .125F, .125F},
              {1, 0, 0},
              "0>0 0>1, 0>2 0>3"},
          row{"all are needed", 0.99, {.5F, .3F, .2F}, {1, 0, 0}, "0>0 0>0, 0>0 0>1, 0>2 0>3"},
          row{"threshold 0 keeps the best alone", 0.0, {.2F, .5F, .3F}, {.1F, .8F, .1F}, "0>2 0>3"},
          row{"sums are normalised first", 0.99, {98, 1.5F, .5F}, {995, 3, 2}, "0>0 0>1, 0>2 0>3"},
          row{"the repair adds what the exit needs",
              0.0,
              {.5F, .3F, .2F},
              {.1F, .8F, .1F},
              "0>0 0>1, 0>2 0>3"}}) {
        genotype_graph graph = three_pairs(r.in, r.out);
        graph.pruneAndMerge(r.threshold);
        EXPECT_EQ(group_text(graph, 0), r.expected) << r.name;
        EXPECT_EQ(segment_text(graph, 0), "00 11 01 10") << r.name;
        EXPECT_TRUE(support::check_invariants(graph)) << r.name;
        EXPECT_EQ(graph.trans_count[0], graph.trans_count[1])
            << r.name << ": entry and exit hold one transition for each pair";
    }
}

TEST(PruneAndMerge, NegativeThresholdKeepsNothing) {
    genotype_graph graph = three_pairs({.5F, .3F, .2F}, {.5F, .3F, .2F});
    graph.pruneAndMerge(-0.5);
    EXPECT_EQ(graph.trans_count, (std::vector<unsigned>{0, 0}));
}

TEST(PruneAndMerge, HomozygoteStaysUnchanged) {
    genotype_graph graph = built_from("0022");
    std::fill(graph.trans_store.begin(), graph.trans_store.end(), 3.0F);
    graph.pruneAndMerge(0.99);
    EXPECT_EQ(segment_text(graph, 0), "0011");
    EXPECT_EQ(group_text(graph, 0), "0>0 0>0");
    EXPECT_EQ(group_text(graph, 1), "0>0 0>0");
    EXPECT_EQ(graph.n_segments(), 1);
}

TEST(PruneAndMerge, ResetsAllProbabilities) {
    genotype_graph graph = built_from("1111.111");
    for (auto* values : {&graph.trans_prob, &graph.trans_store})
        std::fill(values->begin(), values->end(), 0.5F);
    graph.pruneAndMerge(0.99);
    EXPECT_EQ(graph.trans_store, std::vector<float>(graph.trans_nodes.size() / 2, 0.0F));
    EXPECT_EQ(graph.trans_prob, graph.trans_store);
    std::vector<chaplotype> haps(2, chaplotype(8));
    random_source draws(1);
    const support::error_output_capture silenced;
    try {
        graph.sample(haps, {0, 1}, false, draws);
        ADD_FAILURE() << "sampled without weights";
    } catch (const myException& failure) {
        EXPECT_EQ(failure.msg.substr(0, 21), "Underflow in sampling");
    }
}

/// Both transitions of the first group are needed, and the only link of the second one is negative. A genetic
/// map with positions below 0 cM can lead to such values.
TEST(PruneAndMerge, NoUsableLinkAborts) {
    genotype_graph graph = graph_from(R"(
        >0 >1 =.5 | >2 >3 =.5
        [00 11 01 10]
        0> 1> =6 | 2> 3> =-5
    )");
    EXPECT_TRUE(support::aborts_on("best >= 0", [&] { graph.pruneAndMerge(0.99); }));
}

TEST(PruneAndMerge, RestoresAllTransitionsBetweenRemainingPairs) {
    // Too many ambiguous loci to merge. Only two of the four transitions between the two pairs on each side
    // were likely.
    const std::string zeros(11, '0'), ones(11, '1'), mixed = "01010101010", other = "10101010101";
    genotype_graph graph =
        graph_from(">0 >1 =.5 | >2 >3 =.5\n[" + zeros + " " + ones + " " + mixed + " " + other +
                   "]\n"
                   "0>0 1>1 =.5 | 2>2 3>3 =.5 | 0>2 1>3 =0 | 2>0 3>1 =0\n[" +
                   zeros + " " + ones + " " + mixed + " " + other + "]\n0> 1> =.5 | 2> 3> =.5");
    graph.pruneAndMerge(0.99);
    EXPECT_EQ(graph.n_segments(), 2);
    EXPECT_EQ(group_text(graph, 1), "0>0 1>1, 0>1 1>0, 0>2 1>3, 0>3 1>2, 2>0 3>1, 2>1 3>0, 2>2 3>3, 2>3 3>2");
}

// ---- merging

std::string repeated(const std::string& text, int n) {
    std::string result;
    for (int i = 0; i < n; ++i) result += text;
    return result;
}

/// A segment of two candidates that differ at all of `n` loci.
std::string two_candidates(int n) {
    return "[" + std::string(n, '0') + " " + std::string(n, '1') + "]\n";
}

/// Lengths of the segments after pruning with all transitions kept.
std::vector<unsigned> lengths_after(const std::string& text) {
    genotype_graph graph = graph_from(text);
    std::fill(graph.trans_store.begin(), graph.trans_store.end(), 1.0F);
    graph.pruneAndMerge(0.9999);
    EXPECT_TRUE(support::check_invariants(graph)) << text;
    return graph.seg_length;
}

using lengths = std::vector<unsigned>;

TEST(Merging, WorkedExample) {
    genotype_graph graph = graph_from(R"(
        >0 >1 =1
        [00 11]
        0>1 1>0 =1
        [000 101]
        0> 1> =1
    )");
    graph.pruneAndMerge(0.99);
    EXPECT_EQ(graph.n_segments(), 1);
    EXPECT_EQ(segment_text(graph, 0), "00101 11000");
    EXPECT_EQ(group_text(graph, 0), "0>0 0>1");
    EXPECT_EQ(group_text(graph, 1), "0>0 1>0");
    EXPECT_EQ(graph.site_ambiguous, support::haplotype("11101"));
}

TEST(Merging, UpTo21AmbiguousLoci) {
    const std::string in = ">0 >1\n", through = "0>0 1>1\n", out = "0> 1>\n";
    EXPECT_EQ(lengths_after(in + two_candidates(11) + through + two_candidates(10) + out), lengths{21});
    EXPECT_EQ(lengths_after(in + two_candidates(11) + through + two_candidates(11) + out), (lengths{11, 11}));
    // Loci where the candidates agree don't count.
    EXPECT_EQ(lengths_after(in + "[" + repeated("0", 11) + repeated("0", 30) + " " + repeated("1", 11) +
                            repeated("0", 30) + "]\n" + through + two_candidates(10) + out),
              lengths{51});
}

TEST(Merging, GroupsOfUpToFiveTransitions) {
    const std::string in = ">0 >1 | >0 >0 | >1 >1\n", out = "0> 1> | 0> 0> | 1> 1>\n";
    const std::string five = "0>0 1>1 | 0>1 1>0 | 0>0 0>0 | 1>1 1>1 | 0>1 0>1";
    EXPECT_EQ(lengths_after(in + two_candidates(2) + five + "\n" + two_candidates(3) + out), lengths{5});
    EXPECT_EQ(lengths_after(in + two_candidates(2) + five + " | 1>0 1>0\n" + two_candidates(3) + out),
              (lengths{2, 3}))
        << "the sixth has no new step";
}

TEST(Merging, UpToEightCandidates) {
    const std::string eight = "[000 111 001 110 010 101 011 100]\n";
    const std::string in = ">0 >1 | >2 >3 | >4 >5 | >6 >7 | >0 >2\n" + eight;
    const std::string through = "0>0 1>1 | 2>2 3>3 | 4>4 5>5 | 6>6 7>7 | ";
    const std::string out = "\n" + eight + "0> 1> | 2> 3> | 4> 5> | 6> 7> | ";
    EXPECT_EQ(lengths_after(in + through + "0>0 2>2" + out + "0> 2>"), lengths{6});
    EXPECT_EQ(lengths_after(in + through + "0>0 2>0" + out + "0> 0>"), (lengths{3, 3})) << "a ninth step";
}

TEST(Merging, PrefersFewerCandidatesWithoutMoreAmbiguousLoci) {
    // Merging any two of three segments of 10 ambiguous loci leaves too many for a merge with the third.
    const std::string in = ">0 >1\n";
    const std::string four = "0>0 1>1 | 0>1 1>0\n", three = "0>0 1>1 | 0>0 1>0\n", two = "0>0 1>1\n";
    const auto after = [&](const std::string& group1, const std::string& group2, int n) {
        const std::string out = group2 == three ? "0> 1> | 0> 0>\n" : "0> 1>\n";
        return lengths_after(in + two_candidates(10) + group1 + two_candidates(10) + group2 +
                             two_candidates(n) + out);
    };
    EXPECT_EQ(after(four, four, 10), (lengths{20, 10})) << "the first one on ties";
    EXPECT_EQ(after(four, three, 10), (lengths{10, 20})) << "fewer candidates win";
    EXPECT_EQ(after(two, three, 10), (lengths{20, 10}));
    EXPECT_EQ(after(four, three, 11), (lengths{20, 11})) << "but not with more ambiguous loci";
    EXPECT_EQ(after(four, two, 9), (lengths{10, 19}));
    EXPECT_EQ(after(two, four, 9), (lengths{20, 9})) << "fewer ambiguous loci alone don't win";
    EXPECT_EQ(after(four, three, 12), (lengths{20, 12}));
}

TEST(Merging, ContinuesUntilNothingQualifies) {
    std::string text = ">0 >1\n";
    for (int s = 0; s < 7; ++s) text += (s > 0 ? "0>0 1>1\n" : "") + two_candidates(3);
    EXPECT_EQ(lengths_after(text + "0> 1>\n"), lengths{21});
    text += "0>0 1>1\n" + two_candidates(3);
    EXPECT_EQ(lengths_after(text + "0> 1>\n"), (lengths{21, 3}));
}

// ---- pruning and merging against a reference implementation

struct plain_step {
    int left, right;
    auto operator<=>(const plain_step&) const = default;
};
using plain_transition = std::array<plain_step, 2>;
using plain_group = std::vector<plain_transition>;

/// A graph as lists of transitions and of candidate texts.
struct plain_graph {
    std::vector<plain_group> groups;
    std::vector<std::size_t> n_steps;  // number of distinct steps of each group
    std::vector<std::vector<std::string>> segments;
    std::vector<int> n_ambiguous;
};

/// Normalises and sorts the transitions of a copy of the graph, and flags those to keep.
std::pair<genotype_graph, std::vector<bool>> select_plainly(genotype_graph graph, double threshold) {
    std::vector<bool> kept(graph.trans_store.size());
    for (int g = 0; g < graph.n_groups(); ++g) {
        const unsigned first = graph.trans_offset[g], n = graph.trans_count[g];
        double all = 0.0;
        for (unsigned k = 0; k < n; ++k) all += graph.trans_store[first + k];
        std::vector<std::pair<float, unsigned>> order;
        for (unsigned k = 0; k < n; ++k)
            order.emplace_back(static_cast<float>(graph.trans_store[first + k] / all), first + k);
        std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
        const std::vector<unsigned char> nodes = graph.trans_nodes;
        double mass = 0.0;
        for (unsigned k = 0; k < n; ++k) {
            graph.trans_store[first + k] = order[k].first;
            graph.trans_nodes[2 * (first + k)] = nodes[2 * order[k].second];
            graph.trans_nodes[2 * (first + k) + 1] = nodes[2 * order[k].second + 1];
            if (k == 0 || !(mass > threshold)) kept[first + k] = true;
            mass += order[k].first;
        }
    }
    while (support::sweep_plainly(graph, kept) > 0) {
    }
    return {std::move(graph), std::move(kept)};
}

std::size_t count_different(const plain_group& group) {
    std::set<plain_step> different;
    for (const plain_transition& t : group) different.insert({t[0], t[1]});
    return different.size();
}

plain_graph take_apart(const genotype_graph& graph, const std::vector<bool>& kept) {
    plain_graph plain;
    for (int g = 0; g < graph.n_groups(); ++g) {
        plain.groups.emplace_back();
        for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t) {
            const int b0 = graph.trans_nodes[2 * t], b1 = graph.trans_nodes[2 * t + 1];
            if (kept[t])
                plain.groups.back().push_back({plain_step{b0 % 16, b0 / 16}, plain_step{b1 % 16, b1 / 16}});
        }
        plain.n_steps.push_back(count_different(plain.groups.back()));
    }
    int locus = 0;
    for (int s = 0; s < graph.n_segments(); ++s) {
        plain.segments.emplace_back(graph.seg_count[s]);
        for (unsigned c = 0; c < graph.seg_count[s]; ++c)
            for (unsigned i = 0; i < graph.seg_length[s]; ++i)
                plain.segments[s][c] +=
                    graph.getA(s, static_cast<int>(c), static_cast<int>(i)) != 0 ? '1' : '0';
        plain.n_ambiguous.push_back(0);
        for (unsigned i = 0; i < graph.seg_length[s]; ++i)
            plain.n_ambiguous[s] += graph.site_ambiguous[locus++];
    }
    return plain;
}

/// The group to merge away, 0 for none.
std::size_t choose_plainly(const plain_graph& plain) {
    std::size_t chosen = 0, fewest = 1000000000;
    int least = 1000000000;
    for (std::size_t g = 1; g + 1 < plain.groups.size(); ++g) {
        const int ambiguous = plain.n_ambiguous[g - 1] + plain.n_ambiguous[g];
        if (plain.n_steps[g] >= fewest || plain.n_steps[g] > 8 || plain.groups[g].size() > 5) continue;
        if (ambiguous > least || ambiguous > 21) continue;
        chosen = g;
        fewest = plain.n_steps[g];
        least = ambiguous;
    }
    return chosen;
}

void merge_plainly(plain_graph& plain, std::size_t g) {
    std::map<plain_step, int> number;
    std::vector<std::string> candidates;
    for (const plain_transition& t : plain.groups[g])
        for (const plain_step& step : t)
            if (number.try_emplace(step, static_cast<int>(number.size())).second)
                candidates.push_back(plain.segments[g - 1][step.left] + plain.segments[g][step.right]);

    plain_group before, after;
    for (const plain_transition& p : plain.groups[g - 1])
        for (const plain_transition& k : plain.groups[g]) {
            const int l0 = p[0].left, l1 = p[1].left, m0 = number[k[0]], m1 = number[k[1]];
            const bool straight = p[0].right == k[0].left && p[1].right == k[1].left;
            const bool crossed = p[1].right == k[0].left && p[0].right == k[1].left;
            if (!straight && !crossed) continue;
            const plain_transition as_they_are = {plain_step{l0, m0}, plain_step{l1, m1}};
            const plain_transition turned = {plain_step{l1, m0}, plain_step{l0, m1}};
            if (k[0].left == k[1].left) {
                before.push_back(as_they_are);
                if (l0 != l1 && m0 != m1) before.push_back(turned);
            } else {
                before.push_back(straight ? as_they_are : turned);
            }
        }
    for (const plain_transition& q : plain.groups[g + 1])
        for (const plain_transition& k : plain.groups[g]) {
            const int r0 = q[0].right, r1 = q[1].right, m0 = number[k[0]], m1 = number[k[1]];
            const bool straight = q[0].left == k[0].right && q[1].left == k[1].right;
            const bool crossed = q[1].left == k[0].right && q[0].left == k[1].right;
            if (!straight && !crossed) continue;
            const plain_transition as_they_are = {plain_step{m0, r0}, plain_step{m1, r1}};
            const plain_transition turned = {plain_step{m1, r0}, plain_step{m0, r1}};
            if (q[0].left == q[1].left) {
                after.push_back(as_they_are);
                if (m0 != m1 && r0 != r1) after.push_back(turned);
            } else {
                after.push_back(straight ? as_they_are : turned);
            }
        }
    const auto at = static_cast<std::ptrdiff_t>(g);
    plain.groups[g - 1] = before;
    plain.groups[g + 1] = after;
    for (const std::size_t rewritten : {g - 1, g + 1})
        plain.n_steps[rewritten] = count_different(plain.groups[rewritten]);
    plain.groups.erase(plain.groups.begin() + at);
    plain.n_steps.erase(plain.n_steps.begin() + at);
    plain.segments[g - 1] = candidates;
    plain.segments.erase(plain.segments.begin() + at);
    plain.n_ambiguous[g - 1] += plain.n_ambiguous[g];
    plain.n_ambiguous.erase(plain.n_ambiguous.begin() + at);
}

/// Group texts of the rebuilt graph: every reachable pair joined to every reachable pair of the next segment.
std::vector<std::string> rebuild_plainly(const plain_graph& plain) {
    using pair = std::pair<int, int>;
    std::vector<std::set<pair>> pairs{{{0, 0}}};
    for (std::size_t g = 0; g + 1 < plain.groups.size(); ++g) {
        pairs.emplace_back();
        for (const plain_transition& t : plain.groups[g])
            pairs.back().insert(std::minmax(t[0].right, t[1].right));
    }
    pairs.push_back({{0, 0}});
    std::vector<std::string> texts;
    for (std::size_t g = 0; g + 1 < pairs.size(); ++g) {
        texts.emplace_back();
        const auto add = [&](int l0, int r0, int l1, int r1) {
            texts.back() += (texts.back().empty() ? "" : ", ") + std::to_string(l0) + ">" +
                            std::to_string(r0) + " " + std::to_string(l1) + ">" + std::to_string(r1);
        };
        for (const pair& u : pairs[g])
            for (const pair& w : pairs[g + 1]) {
                add(u.first, w.first, u.second, w.second);
                if (u.first != u.second && w.first != w.second) add(u.first, w.second, u.second, w.first);
            }
    }
    return texts;
}

/// Weights of 10^-0 to 10^-(spread - 1): the larger the spread, the fewer transitions hold most of the
/// probability of their group.
void make_peaked(std::vector<float>& values, int spread, std::mt19937& random) {
    for (float& value : values)
        value = std::pow(10.0F, -static_cast<float>(random() % static_cast<unsigned>(spread))) *
                static_cast<float>(random() % 9 + 1);
}

/// Gives pairs of candidates weights from 10^-0 to 10^-(spread - 1), and each transition the product of the
/// weights of its two pairs. Neighbouring groups prefer the same pairs, so many segments merge.
void make_peaked_in_accord(genotype_graph& graph, unsigned spread, std::mt19937& random) {
    std::map<std::pair<int, int>, float> left, right;
    const auto weight = [&](std::map<std::pair<int, int>, float>& weights, int c, int d) {
        const auto [place, is_new] = weights.try_emplace(std::minmax(c, d));
        if (is_new) place->second = std::pow(10.0F, -static_cast<float>(random() % spread));
        return place->second;
    };
    for (int g = 0; g < graph.n_groups(); ++g) {
        for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t) {
            const int b0 = graph.trans_nodes[2 * t], b1 = graph.trans_nodes[2 * t + 1];
            graph.trans_store[t] = weight(left, b0 % 16, b1 % 16) * weight(right, b0 / 16, b1 / 16);
        }
        left = std::exchange(right, {});
    }
}

/// Prunes the graph and compares it with the result of the reference implementation; adds to `n_merges`.
void prune_as_plainly(genotype_graph& graph, double threshold, int& n_merges) {
    const auto [ordered, kept] = select_plainly(graph, threshold);
    plain_graph plain = take_apart(ordered, kept);
    for (std::size_t g = choose_plainly(plain); g > 0; g = choose_plainly(plain)) {
        merge_plainly(plain, g);
        ++n_merges;
    }
    const chaplotype missing = graph.site_missing;
    graph.pruneAndMerge(threshold);

    ASSERT_EQ(graph.n_segments(), static_cast<int>(plain.segments.size()));
    const std::vector<std::string> groups = rebuild_plainly(plain);
    ASSERT_EQ(graph.n_groups(), static_cast<int>(groups.size()));
    for (int g = 0; g < graph.n_groups(); ++g) ASSERT_EQ(group_text(graph, g), groups[g]);
    std::string ambiguous;
    for (int s = 0; s < graph.n_segments(); ++s) {
        std::string candidates;
        for (const std::string& candidate : plain.segments[s])
            candidates += (candidates.empty() ? "" : " ") + candidate;
        ASSERT_EQ(segment_text(graph, s), candidates);
        for (std::size_t i = 0; i < plain.segments[s][0].size(); ++i) {
            std::set<char> alleles;
            for (const std::string& candidate : plain.segments[s]) alleles.insert(candidate[i]);
            ambiguous += alleles.size() > 1 ? '1' : '0';
        }
    }
    ASSERT_EQ(graph.site_ambiguous.toString(), ambiguous);
    ASSERT_EQ(graph.site_missing, missing);
    ASSERT_TRUE(support::check_invariants(graph));
}

TEST(PruneAndMerge, AgreesWithReference) {
    std::mt19937 random(2);
    int n_merges = 0;
    for (int trial = 0; trial < 150; ++trial) {
        const std::string genotypes =
            support::random_genotypes(1 + static_cast<int>(random() % 60), static_cast<int>(random() % 70),
                                      static_cast<int>(random() % 15), random);
        genotype_graph graph = built_from(genotypes);
        make_peaked(graph.trans_store, 1 + trial % 30, random);
        // A second round works on a merged graph.
        for (int round = 0; round < 2; ++round) {
            ASSERT_NO_FATAL_FAILURE(prune_as_plainly(graph, trial % 5 == 0 ? 0.5 : 0.99, n_merges))
                << genotypes;
            make_peaked(graph.trans_store, 20, random);
        }
    }
    EXPECT_GT(n_merges, 100) << "the trials cover merging";
}

TEST(PruneAndMerge, AgreesWithReferenceOnLongGraphs) {
    std::mt19937 random(7);
    struct row {
        int n_loci, percent_het, percent_missing;
        unsigned spread;
    };
    for (const row& r :
         {row{30000, 30, 1, 18}, row{30000, 5, 1, 10}, row{6000, 40, 10, 18}, row{3000, 0, 100, 18}}) {
        genotype_graph graph =
            built_from(support::random_genotypes(r.n_loci, r.percent_het, r.percent_missing, random));
        int n_merges = 0;
        for (int round = 0; round < 2; ++round) {
            make_peaked_in_accord(graph, r.spread, random);
            ASSERT_NO_FATAL_FAILURE(prune_as_plainly(graph, 0.99, n_merges)) << r.percent_het;
        }
        EXPECT_GT(n_merges, 200) << r.percent_het;
    }
}

TEST(PruneAndMerge, EveryWalkIsStillConsistentWithTheGenotypes) {
    std::mt19937 random(3);
    for (int trial = 0; trial < 60; ++trial) {
        const std::string genotypes = support::random_genotypes(80, 30, 5, random);
        genotype_graph graph = built_from(genotypes);
        make_peaked(graph.trans_store, 20, random);
        graph.pruneAndMerge(0.99);
        std::vector<chaplotype> haps(2, chaplotype(80));
        random_source draws(trial);
        for (int draw = 0; draw < 20; ++draw) {
            graph.sample(haps, {0, 1}, true, draws);
            ASSERT_TRUE(support::fits(genotypes, {haps[0].toString(), haps[1].toString()})) << genotypes;
        }
    }
}

TEST(PruneAndMerge, KeepsAllPairsOfKeptWalks) {
    std::mt19937 random(4);
    for (int trial = 0; trial < 40; ++trial) {
        const std::string genotypes =
            support::random_genotypes(1 + static_cast<int>(random() % 9), 60, 10, random);
        genotype_graph graph = built_from(genotypes);
        make_peaked(graph.trans_store, 20, random);
        const auto [ordered, kept] = select_plainly(graph, 0.99);
        genotype_graph kept_only("NA1");
        const plain_graph plain = take_apart(ordered, kept);
        for (std::size_t g = 0; g < plain.groups.size(); ++g) {
            std::vector<unsigned char> nodes;
            for (const plain_transition& t : plain.groups[g])
                for (const plain_step& step : t) nodes.push_back(step_byte(step.left, step.right));
            kept_only.pushTrans(nodes);
            if (g == plain.segments.size()) break;
            std::string candidates;
            for (const std::string& candidate : plain.segments[g]) candidates += candidate;
            kept_only.pushHaps(support::haplotype(candidates), static_cast<int>(plain.segments[g].size()));
        }
        graph.pruneAndMerge(0.99);
        const auto left = support::pairs_of(graph);
        for (const haplotype_pair& pair : support::pairs_of(kept_only))
            ASSERT_TRUE(left.contains(pair)) << genotypes << ": " << pair.first << " " << pair.second;
        for (const haplotype_pair& pair : left) ASSERT_TRUE(support::fits(genotypes, pair)) << genotypes;
    }
}

TEST(PruneAndMerge, FirstAndLastGroupHaveOneTransitionPerPair) {
    std::mt19937 random(5);
    for (int trial = 0; trial < 30; ++trial) {
        genotype_graph graph = built_from(support::random_genotypes(40, 50, 10, random));
        make_peaked(graph.trans_store, 20, random);
        graph.pruneAndMerge(0.99);
        for (const bool entry : {true, false}) {
            const int g = entry ? 0 : graph.n_groups() - 1;
            std::set<std::pair<int, int>> pairs;
            for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t) {
                const int b0 = graph.trans_nodes[2 * t], b1 = graph.trans_nodes[2 * t + 1];
                pairs.insert(entry ? std::minmax(b0 / 16, b1 / 16) : std::minmax(b0 % 16, b1 % 16));
            }
            EXPECT_EQ(pairs.size(), graph.trans_count[g]);
        }
    }
}

TEST(PruneAndMerge, GroupsStayFarBelowTheLimit) {
    std::mt19937 random(6);
    genotype_graph graph = built_from(support::random_genotypes(200, 30, 30, random));
    for (int round = 0; round < 3; ++round) {
        std::fill(graph.trans_store.begin(), graph.trans_store.end(), 1.0F);
        graph.pruneAndMerge(0.99);
        for (const unsigned count : graph.seg_count) EXPECT_LE(count, 8U);
        for (const unsigned count : graph.trans_count) EXPECT_LE(count, 2592U);
    }
}

}  // namespace
