#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "objects/genotype_graph.h"
#include "support/graph_laws.h"
#include "support/graph_text.h"
#include "support/haplotype_text.h"
#include "support/plain_generator.h"

namespace {

using support::built_from;
using support::group_text;
using support::haplotype_pair;
using support::segment_text;

TEST(AllTransitions, BothWaysOnlyBetweenPairsOfDistinctCandidates) {
    using nodes = std::vector<unsigned char>;
    EXPECT_EQ(all_transitions({{0, 1}}, {{0, 1}, {2, 3}}),
              (nodes{0x00, 0x11, 0x10, 0x01, 0x20, 0x31, 0x30, 0x21}));
    EXPECT_EQ(all_transitions({{0, 0}}, {{1, 2}}), (nodes{0x10, 0x20}));
    EXPECT_EQ(all_transitions({{1, 2}}, {{3, 3}}), (nodes{0x31, 0x32}));
    EXPECT_EQ(all_transitions({{1, 1}, {0, 2}}, {{4, 5}}), (nodes{0x41, 0x51, 0x40, 0x52, 0x50, 0x42}));
}

struct build_row {
    const char* name;
    const char* genotypes;
    std::vector<std::string> segments;
    std::vector<std::string> groups;
};

/// The eight candidates and four pairs of a segment with three heterozygotes.
const std::string THREE_HETS = "000 111 001 110 010 101 011 100";
const std::string INTO_THREE_HETS = "0>0 0>1, 0>2 0>3, 0>4 0>5, 0>6 0>7";

TEST(BuildUnr, WorkedExamples) {
    const std::vector<build_row> rows = {
        {"one homozygote", "0", {"0"}, {"0>0 0>0", "0>0 0>0"}},
        {"homozygotes only", "0202", {"0101"}, {"0>0 0>0", "0>0 0>0"}},
        {"one heterozygote is one pair", "1", {"0 1"}, {"0>0 0>1", "0>0 1>0"}},
        {"homozygotes about a heterozygote", "012", {"001 011"}, {"0>0 0>1", "0>0 1>0"}},
        {"two heterozygotes", "11", {"00 11 01 10"}, {"0>0 0>1, 0>2 0>3", "0>0 1>0, 2>0 3>0"}},
        {"four heterozygotes make two segments",
         "1111",
         {THREE_HETS, "0 1"},
         {INTO_THREE_HETS, "0>0 1>1, 0>1 1>0, 2>0 3>1, 2>1 3>0, 4>0 5>1, 4>1 5>0, 6>0 7>1, 6>1 7>0",
          "0>0 1>0"}},
        {"homozygotes before the fourth heterozygote stay",
         "11102 1",
         {"00001 11101 00101 11001 01001 10101 01101 10001", "0 1"},
         {INTO_THREE_HETS, "0>0 1>1, 0>1 1>0, 2>0 3>1, 2>1 3>0, 4>0 5>1, 4>1 5>0, 6>0 7>1, 6>1 7>0",
          "0>0 1>0"}},
        {"a missing genotype is three pairs",
         ".",
         {"0 1"},
         {"0>0 0>0, 0>1 0>1, 0>0 0>1", "0>0 0>0, 1>0 1>0, 0>0 1>0"}},
        {"two missing genotypes are ten pairs",
         "..",
         {"00 01 10 11"},
         {"0>0 0>0, 0>1 0>1, 0>0 0>1, 0>2 0>2, 0>3 0>3, 0>2 0>3, 0>0 0>2, 0>1 0>3, 0>0 0>3, 0>1 0>2",
          "0>0 0>0, 1>0 1>0, 0>0 1>0, 2>0 2>0, 3>0 3>0, 2>0 3>0, 0>0 2>0, 1>0 3>0, 0>0 3>0, 1>0 2>0"}},
        {"the third missing genotype starts a segment",
         "...",
         {"00 01 10 11", "0 1"},
         {"0>0 0>0, 0>1 0>1, 0>0 0>1, 0>2 0>2, 0>3 0>3, 0>2 0>3, 0>0 0>2, 0>1 0>3, 0>0 0>3, 0>1 0>2",
          // To (0, 0) and (1, 1) in one way; to (0, 1) in two ways from pairs of two different candidates.
          "0>0 0>0, 0>1 0>1, 0>0 0>1, 1>0 1>0, 1>1 1>1, 1>0 1>1, 0>0 1>0, 0>1 1>1, 0>0 1>1, 0>1 1>0, "
          "2>0 2>0, 2>1 2>1, 2>0 2>1, 3>0 3>0, 3>1 3>1, 3>0 3>1, 2>0 3>0, 2>1 3>1, 2>0 3>1, 2>1 3>0, "
          "0>0 2>0, 0>1 2>1, 0>0 2>1, 0>1 2>0, 1>0 3>0, 1>1 3>1, 1>0 3>1, 1>1 3>0, "
          "0>0 3>0, 0>1 3>1, 0>0 3>1, 0>1 3>0, 1>0 2>0, 1>1 2>1, 1>0 2>1, 1>1 2>0",
          "0>0 0>0, 1>0 1>0, 0>0 1>0"}},
        {"a heterozygote after a missing genotype",
         ".1",
         // From (0, 0): 00 with 01. From (1, 1): 10 with 11. From (0, 1): 00 with 11, 01 with 10.
         {"00 01 10 11"},
         {"0>0 0>1, 0>2 0>3, 0>0 0>3, 0>1 0>2", "0>0 1>0, 2>0 3>0, 0>0 3>0, 1>0 2>0"}},
    };
    for (const build_row& r : rows) {
        const genotype_graph graph = built_from(r.genotypes);
        ASSERT_EQ(graph.n_segments(), static_cast<int>(r.segments.size())) << r.name;
        ASSERT_EQ(graph.n_groups(), static_cast<int>(r.groups.size())) << r.name;
        for (int s = 0; s < graph.n_segments(); ++s)
            EXPECT_EQ(segment_text(graph, s), r.segments[s]) << r.name;
        for (int g = 0; g < graph.n_groups(); ++g) EXPECT_EQ(group_text(graph, g), r.groups[g]) << r.name;
        EXPECT_TRUE(support::check_invariants(graph)) << r.name;
    }
}

TEST(BuildUnr, AmbiguousAndMissingLoci) {
    const genotype_graph graph = built_from("0 1 2 . 1 1 1 . 0");
    EXPECT_EQ(graph.site_ambiguous, support::haplotype("010111110"));
    EXPECT_EQ(graph.site_missing, support::haplotype("000100010"));
}

TEST(BuildUnr, LeavesProbabilitiesAtZero) {
    const genotype_graph graph = built_from("1 . 1 0 1 1 1 1 .");
    EXPECT_EQ(graph.trans_prob, std::vector<float>(graph.trans_prob.size(), 0.0F));
    EXPECT_EQ(graph.trans_store, std::vector<float>(graph.trans_prob.size(), 0.0F));
}

TEST(BuildUnr, NoLociGiveAnEmptyGraph) {
    const genotype_graph graph = built_from("");
    EXPECT_EQ(graph.n_segments(), 0);
    EXPECT_EQ(graph.n_groups(), 0);
    EXPECT_EQ(graph.n_loci(), 0);
    EXPECT_TRUE(graph.trans_nodes.empty());
}

TEST(BuildUnr, ReturnsZero) {
    const support::genotypes g = support::genotypes_from("01.");
    genotype_graph graph("NA1");
    EXPECT_EQ(graph.buildUnr(chaplotype(g.a), chaplotype(g.b), chaplotype(g.m)), 0);
}

/// All haplotype pairs with these genotypes, by trying both alleles for both chromosomes at each locus.
std::set<haplotype_pair> consistent_pairs(const std::string& genotypes) {
    std::set<haplotype_pair> pairs{{"", ""}};
    for (const char g : genotypes) {
        std::set<haplotype_pair> longer;
        for (const haplotype_pair& pair : pairs)
            for (const char x : {'0', '1'})
                for (const char y : {'0', '1'})
                    if (g == '.' || g - '0' == (x - '0') + (y - '0'))
                        longer.insert(support::unordered(pair.first + x, pair.second + y));
        pairs = std::move(longer);
    }
    return pairs;
}

std::size_t n_haplotypes(const std::set<haplotype_pair>& pairs) {
    std::set<std::string> haplotypes;
    for (const haplotype_pair& pair : pairs) haplotypes.insert({pair.first, pair.second});
    return haplotypes.size();
}

std::vector<std::string> candidates_of(const genotype_graph& graph, int s) {
    std::vector<std::string> candidates;
    for (unsigned c = 0; c < graph.seg_count[s]; ++c) {
        candidates.emplace_back();
        for (unsigned i = 0; i < graph.seg_length[s]; ++i)
            candidates.back() += graph.getA(s, static_cast<int>(c), static_cast<int>(i)) != 0 ? '1' : '0';
    }
    return candidates;
}

/// Unordered candidate pairs on the right of group `g`.
std::set<haplotype_pair> pairs_entered(const genotype_graph& graph, int g) {
    const auto candidates = candidates_of(graph, g);
    std::set<haplotype_pair> pairs;
    for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t)
        pairs.insert(support::unordered(candidates[graph.trans_nodes[2 * t] >> 4],
                                        candidates[graph.trans_nodes[2 * t + 1] >> 4]));
    return pairs;
}

TEST(BuildUnr, SegmentsHaveAllConsistentPairsAndMaximalLength) {
    std::mt19937 random(7);
    for (int trial = 0; trial < 150; ++trial) {
        const int n = 1 + static_cast<int>(random() % 60);
        const std::string genotypes = support::random_genotypes(n, static_cast<int>(random() % 80),
                                                                static_cast<int>(random() % 20), random);
        const genotype_graph graph = built_from(genotypes);
        ASSERT_TRUE(support::check_invariants(graph)) << genotypes;
        int first = 0;
        for (int s = 0; s < graph.n_segments(); ++s) {
            const int length = static_cast<int>(graph.seg_length[s]);
            const auto pairs = consistent_pairs(genotypes.substr(first, length));
            ASSERT_EQ(pairs_entered(graph, s), pairs) << genotypes << ", segment " << s;
            ASSERT_LE(pairs.size(), 10U);
            ASSERT_EQ(graph.seg_count[s], n_haplotypes(pairs));
            first += length;
            if (s + 1 == graph.n_segments()) continue;
            const auto longer = consistent_pairs(genotypes.substr(first - length, length + 1));
            ASSERT_TRUE(longer.size() > 10 || n_haplotypes(longer) > 8) << genotypes << ", segment " << s;
        }
    }
}

TEST(BuildUnr, GroupsJoinAllPairsInAllWays) {
    std::mt19937 random(8);
    for (int trial = 0; trial < 60; ++trial) {
        const genotype_graph graph = built_from(support::random_genotypes(30, 60, 15, random));
        for (int g = 0; g < graph.n_groups(); ++g) {
            using pair_of = std::multiset<int>;
            std::set<pair_of> lefts, rights;
            std::multiset<std::string> found, expected;
            for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t) {
                const int b0 = graph.trans_nodes[2 * t], b1 = graph.trans_nodes[2 * t + 1];
                lefts.insert({b0 % 16, b1 % 16});
                rights.insert({b0 / 16, b1 / 16});
                const auto steps = std::minmax(b0, b1);
                found.insert(std::to_string(steps.first) + " " + std::to_string(steps.second));
            }
            for (const pair_of& left : lefts)
                for (const pair_of& right : rights) {
                    std::set<std::string> ways;
                    for (const bool crossed : {false, true}) {
                        const int to0 = crossed ? *right.rbegin() : *right.begin();
                        const int to1 = crossed ? *right.begin() : *right.rbegin();
                        const int b0 = 16 * to0 + *left.begin(), b1 = 16 * to1 + *left.rbegin();
                        ways.insert(std::to_string(std::min(b0, b1)) + " " +
                                    std::to_string(std::max(b0, b1)));
                    }
                    expected.insert(ways.begin(), ways.end());
                }
            ASSERT_EQ(found, expected) << "group " << g;
        }
    }
}

TEST(BuildUnr, WalksAreExactlyTheConsistentPairs) {
    std::mt19937 random(9);
    for (int trial = 0; trial < 60; ++trial) {
        const std::string genotypes =
            support::random_genotypes(1 + static_cast<int>(random() % 7), 60, 15, random);
        EXPECT_EQ(support::pairs_of(built_from(genotypes)), consistent_pairs(genotypes)) << genotypes;
    }
}

TEST(BuildUnr, SegmentsWithoutMissingGenotypesHaveThreeHeterozygotes) {
    std::mt19937 random(10);
    const std::string genotypes = support::random_genotypes(500, 40, 0, random);
    const genotype_graph graph = built_from(genotypes);
    int first = 0;
    for (int s = 0; s < graph.n_segments(); ++s) {
        const std::string own = genotypes.substr(first, graph.seg_length[s]);
        const auto n_het = std::count(own.begin(), own.end(), '1');
        EXPECT_TRUE(n_het == 3 || s + 1 == graph.n_segments()) << s;
        if (s > 0) {
            EXPECT_EQ(own[0], '1') << "only a fourth heterozygote ends a segment";
        }
        first += static_cast<int>(graph.seg_length[s]);
    }
}

// ---- construction against a reference implementation, which extends texts locus by locus

struct plain_segment {
    std::vector<std::string> candidates{""};
    std::vector<std::pair<int, int>> pairs{{0, 0}};
};

plain_segment longer_plainly(const plain_segment& s, char genotype) {
    plain_segment next{{}, {}};
    const auto number_of = [&](const std::string& candidate) {
        const auto found = std::find(next.candidates.begin(), next.candidates.end(), candidate);
        const auto number = found - next.candidates.begin();
        if (found == next.candidates.end()) next.candidates.push_back(candidate);
        return static_cast<int>(number);
    };
    for (const auto& [first, second] : s.pairs)
        for (const std::string alleles : {"00", "11", "01", "10"}) {
            if (genotype != '.' && alleles[0] + alleles[1] != genotype + '0') continue;
            if (alleles == "10" && first == second) continue;
            const int extended = number_of(s.candidates[first] + alleles[0]);
            next.pairs.emplace_back(extended, number_of(s.candidates[second] + alleles[1]));
        }
    return next;
}

std::vector<plain_segment> segments_plainly(const std::string& genotypes) {
    std::vector<plain_segment> segments(1);
    for (const char genotype : genotypes) {
        const plain_segment longer = longer_plainly(segments.back(), genotype);
        if (longer.pairs.size() <= 10 && longer.candidates.size() <= 8)
            segments.back() = longer;
        else
            segments.push_back(longer_plainly({}, genotype));
    }
    return segments;
}

std::string transitions_plainly(const plain_segment& left, const plain_segment& right) {
    std::string text;
    const auto add = [&](int left0, int right0, int left1, int right1) {
        text += (text.empty() ? "" : ", ") + std::to_string(left0) + ">" + std::to_string(right0) + " " +
                std::to_string(left1) + ">" + std::to_string(right1);
    };
    for (const auto& [p0, p1] : left.pairs)
        for (const auto& [q0, q1] : right.pairs) {
            add(p0, q0, p1, q1);
            if (p0 != p1 && q0 != q1) add(p0, q1, p1, q0);
        }
    return text;
}

void expect_as_plain(const std::string& genotypes) {
    const genotype_graph graph = built_from(genotypes);
    const std::vector<plain_segment> segments = segments_plainly(genotypes);
    ASSERT_EQ(graph.n_segments(), static_cast<int>(segments.size())) << genotypes;
    ASSERT_EQ(graph.n_groups(), static_cast<int>(segments.size()) + 1) << genotypes;
    plain_segment left;
    for (int s = 0; s < graph.n_segments(); ++s) {
        std::string candidates;
        for (const std::string& candidate : segments[s].candidates)
            candidates += (candidates.empty() ? "" : " ") + candidate;
        ASSERT_EQ(segment_text(graph, s), candidates) << genotypes;
        ASSERT_EQ(group_text(graph, s), transitions_plainly(left, segments[s])) << genotypes;
        left = segments[s];
    }
    ASSERT_EQ(group_text(graph, graph.n_segments()), transitions_plainly(left, {})) << genotypes;
    for (int l = 0; l < graph.n_loci(); ++l) {
        ASSERT_EQ(graph.site_ambiguous[l], genotypes[l] == '1' || genotypes[l] == '.' ? 1 : 0) << genotypes;
        ASSERT_EQ(graph.site_missing[l], genotypes[l] == '.' ? 1 : 0) << genotypes;
    }
    ASSERT_TRUE(support::check_invariants(graph)) << genotypes;
}

TEST(BuildUnr, AgreesWithReference) {
    struct kind {
        int percent_het, percent_missing;
    };
    std::mt19937 random(11);
    for (const int n : {1, 7, 8, 9, 63, 64, 65, 128, 129, 400})
        for (const kind k : {kind{100, 0}, kind{0, 100}, kind{0, 0}, kind{50, 50}, kind{1, 0}, kind{0, 1},
                             kind{1, 1}, kind{5, 2}, kind{30, 5}, kind{40, 40}})
            for (int trial = 0; trial < 3; ++trial)
                ASSERT_NO_FATAL_FAILURE(
                    expect_as_plain(support::random_genotypes(n, k.percent_het, k.percent_missing, random)));
}

// ---- windows

/// A graph of `n` segments, where segment s has s % 3 + 1 loci.
genotype_graph graph_of_segments(int n) {
    genotype_graph graph("NA1");
    for (int s = 0; s < n; ++s) graph.pushHaps(chaplotype(static_cast<unsigned>(s % 3 + 1)), 1);
    return graph;
}

TEST(Cluster, ChromosomeShorterThanAWindowIsOneWindow) {
    random_source draws(3);
    EXPECT_EQ(graph_of_segments(9).cluster(999999, 1000000, draws),
              (std::vector<segment_range>{{0, 17, 0, 8}}));
    EXPECT_EQ(draws.draw(), support::plain_generator(3).draw()) << "takes no draw";
}

TEST(Cluster, FewSegmentsAreOneWindow) {
    for (const int n : {1, 2, 3}) {
        random_source draws(1);
        const auto windows = graph_of_segments(n).cluster(100000000, 1000000, draws);
        ASSERT_EQ(windows.size(), 1U);
        EXPECT_EQ(windows[0].first_segment, 0);
        EXPECT_EQ(windows[0].last_segment, n - 1);
    }
}

TEST(Cluster, FourSegmentsInTwoWindows) {
    // Two windows of at least 2 segments: the only possible cut gives both three segments, which have 1, 2, 3
    // and 1 loci.
    random_source draws(1);
    EXPECT_EQ(graph_of_segments(4).cluster(2000000, 1000000, draws),
              (std::vector<segment_range>{{0, 5, 0, 2}, {1, 6, 1, 3}}));
}

/// The windows of `n` segments as first and last segment, cut with draws from `random`.
void cut_plainly(int min_size, int first, int last, support::plain_generator& random,
                 std::vector<std::pair<int, int>>& out) {
    const int n = last - first + 1;
    if (n == 2 || 2 * min_size > n) {
        out.emplace_back(first, last);
        return;
    }
    const int cut = first + min_size + static_cast<int>(random.draw() * (n - 2 * min_size));
    cut_plainly(min_size, first, cut, random, out);
    cut_plainly(min_size, cut - 1, last, random, out);
}

TEST(Cluster, WindowsFollowTheDraws) {
    for (int seed = 1; seed <= 100; ++seed) {
        const int n = 1 + 3 * seed % 120, span = 1000000 * (seed % 30) + 500000, size = 2000000;
        const genotype_graph graph = graph_of_segments(n);
        const int n_windows = std::max(1, span / size);
        support::plain_generator random(seed);
        std::vector<std::pair<int, int>> expected;
        cut_plainly(std::max(2, n / n_windows), 0, n - 1, random, expected);
        random_source draws(seed);
        const std::vector<segment_range> windows = graph.cluster(span, size, draws);
        ASSERT_EQ(windows.size(), expected.size());
        std::vector<int> start{0};
        for (int s = 0; s < n; ++s) start.push_back(start.back() + s % 3 + 1);
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const auto [first, last] = expected[i];
            ASSERT_EQ(windows[i], (segment_range{start[first], start[last + 1] - 1, first, last}))
                << "seed " << seed;
        }
    }
}

}  // namespace
