#include "objects/genotype_graph.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <set>
#include <sstream>

#include "support/child_process.h"
#include "support/graph_laws.h"
#include "support/graph_text.h"
#include "support/haplotype_text.h"

namespace {

using support::graph_from;

/// Segments of 4, 3 and 5 loci; loci 0 to 11.
const char* const LENGTHS_4_3_5 = R"(
    >0 >0
    [0000]
    0>0 0>0
    [000]
    0>0 0>0
    [00000]
    0> 0>
)";

TEST(GenotypeGraph, StartsEmpty) {
    const genotype_graph graph("NA7");
    EXPECT_EQ(graph.name, "NA7");
    EXPECT_EQ(graph.n_segments(), 0);
    EXPECT_EQ(graph.n_groups(), 0);
    EXPECT_EQ(graph.n_loci(), 0);
    EXPECT_TRUE(graph.trans_nodes.empty());
    EXPECT_EQ(graph.hap_bits.size(), 0);
}

TEST(StepByte, LeftCandidateIsInTheLowBits) {
    EXPECT_EQ(step_byte(3, 5), 0x53);
    EXPECT_EQ(step_byte(0, 15), 0xF0);
    EXPECT_EQ(step_byte(15, 0), 0x0F);
}

TEST(PushTrans, AppendsAGroupWithoutProbabilities) {
    genotype_graph graph("NA1");
    graph.pushTrans({0x53, 0x12});
    EXPECT_EQ(graph.trans_nodes, (std::vector<unsigned char>{0x53, 0x12}));
    graph.pushTrans({0x00, 0x01, 0xFF, 0x70});
    EXPECT_EQ(graph.trans_nodes, (std::vector<unsigned char>{0x53, 0x12, 0x00, 0x01, 0xFF, 0x70}));
    EXPECT_EQ(graph.trans_offset, (std::vector<unsigned>{0, 1}));
    EXPECT_EQ(graph.trans_count, (std::vector<unsigned>{1, 2}));
    EXPECT_EQ(graph.trans_prob, (std::vector<float>{0, 0, 0}));
    EXPECT_EQ(graph.trans_store, (std::vector<float>{0, 0, 0}));
    graph.pushTrans({});
    EXPECT_EQ(graph.trans_offset.back(), 3U);
    EXPECT_EQ(graph.trans_count.back(), 0U);
}

TEST(PushHaps, StoresCandidatesOneAfterAnother) {
    genotype_graph graph("NA1");
    graph.pushHaps(support::haplotype("011 100"), 2);
    graph.pushHaps(support::haplotype("1 0 1"), 3);
    EXPECT_EQ(graph.hap_bits.toString(), "011100101");
    EXPECT_EQ(graph.seg_offset, (std::vector<unsigned>{0, 6}));
    EXPECT_EQ(graph.seg_count, (std::vector<unsigned>{2, 3}));
    EXPECT_EQ(graph.seg_length, (std::vector<unsigned>{3, 1}));
    const int expected[2][3] = {{0, 1, 1}, {1, 0, 0}};
    for (int c = 0; c < 2; ++c)
        for (int i = 0; i < 3; ++i) EXPECT_EQ(graph.getA(0, c, i), expected[c][i]);
    EXPECT_EQ(graph.getA(1, 0, 0), 1);
    EXPECT_EQ(graph.getA(1, 1, 0), 0);
    EXPECT_EQ(graph.getA(1, 2, 0), 1);
}

TEST(Linked, ComparesUnorderedPairs) {
    struct row {
        const char* a;
        const char* b;
        int expected;
    };
    for (const row& r :
         {row{"0>5 0>1", "1>0 5>0", 1}, row{"0>5 0>1", "5>0 1>0", 1}, row{"0>5 0>5", "5>0 1>0", 0},
          row{"0>5 0>1", "5>0 5>0", 0}, row{"0>2 0>2", "2>7 2>3", 1}, row{"5>0 1>0", "5>0 1>0", 0},
          row{"0>15 0>0", "0>1 15>1", 1}}) {
        const genotype_graph graph = graph_from(std::string(r.a) + " | " + r.b);
        EXPECT_EQ(graph.linked(0, 2), r.expected) << r.a << " then " << r.b;
    }
}

TEST(Linked, AgreesWithSets) {
    std::mt19937 random(1);
    genotype_graph graph("NA1");
    std::array<std::vector<int>, 4> T;  // left0, right0, left1, right1
    std::vector<unsigned char> nodes;
    for (int t = 0; t < 150; ++t) {
        for (auto& numbers : T) numbers.push_back(static_cast<int>(random() % 4) * 5);
        nodes.push_back(step_byte(T[0][t], T[1][t]));
        nodes.push_back(step_byte(T[2][t], T[3][t]));
    }
    graph.pushTrans(nodes);
    using pair_of = std::multiset<int>;
    for (unsigned a = 0; a < 150; ++a)
        for (unsigned b = 0; b < 150; ++b) {
            const pair_of right_a{T[1][a], T[3][a]}, left_b{T[0][b], T[2][b]};
            ASSERT_EQ(graph.linked(2 * a, 2 * b), right_a == left_b ? 1 : 0);
        }
}

TEST(GetClosestBoundaries, WidensToWholeSegments) {
    const genotype_graph graph = graph_from(LENGTHS_4_3_5);
    struct row {
        int from, to, first_locus, last_locus, first_segment, last_segment;
    };
    for (const row& r :
         {row{5, 8, 4, 11, 1, 2}, row{0, 100, 0, 11, 0, 2}, row{0, 3, 0, 3, 0, 0}, row{3, 4, 0, 6, 0, 1},
          row{4, 6, 4, 6, 1, 1}, row{7, 11, 7, 11, 2, 2}, row{11, 12, 7, 11, 2, 2}, row{0, 11, 0, 11, 0, 2},
          row{8, 2, 7, 3, 2, 0}, row{8, -1, 7, 11, 2, 2}}) {
        EXPECT_EQ(graph.getClosestBoundaries(r.from, r.to),
                  (segment_range{r.first_locus, r.last_locus, r.first_segment, r.last_segment}))
            << r.from << " to " << r.to;
    }
}

TEST(Ranges, AreTheClosestBoundariesOfNeighbours) {
    std::mt19937 random(3);
    for (int trial = 0; trial < 50; ++trial) {
        const int n_loci = 1 + static_cast<int>(random() % 100);
        const genotype_graph graph = support::built_from(support::random_genotypes(n_loci, 40, 5, random));
        std::vector<int> borders = {0, n_loci - 1};
        for (unsigned i = 0; i < random() % 6; ++i) borders.push_back(static_cast<int>(random() % n_loci));
        std::ranges::sort(borders);
        const std::vector<segment_range> ranges = graph.ranges(borders);
        ASSERT_EQ(ranges.size(), borders.size() - 1);
        for (std::size_t i = 0; i < ranges.size(); ++i)
            EXPECT_EQ(ranges[i], graph.getClosestBoundaries(borders[i], borders[i + 1]));
        EXPECT_EQ(ranges.front().first_locus, 0);
        EXPECT_EQ(ranges.back().last_segment, graph.n_segments() - 1);
    }
}

TEST(GetClosestBoundaries, StartOutsideTheGraphAborts) {
    const genotype_graph graph = graph_from(LENGTHS_4_3_5), empty("NA1");
    const auto widen = [](const genotype_graph& g, int from, int to) { g.getClosestBoundaries(from, to); };
    const std::string assertion = "fb >= 0 && tb >= 0";
    EXPECT_TRUE(support::aborts_on(assertion, [&] { widen(graph, 100, 100); }));
    EXPECT_TRUE(support::aborts_on(assertion, [&] { widen(graph, 12, 13); }));
    EXPECT_TRUE(support::aborts_on(assertion, [&] { widen(graph, -1, 5); }));
    EXPECT_TRUE(support::aborts_on(assertion, [&] { widen(empty, 0, 0); }));
}

/// Two candidates on each side; group 1 has all six transitions between their pairs.
const char* const BEST_NEIGHBOURS = R"(
    >0 >0 =.1 | >0 >1 =.3 | >1 >0 =.3 | >1 >1 =.2
    [0 1]
    0>0 0>0 =.1 | 0>1 0>1 =.4 | 0>0 1>1 =.2 | 1>0 0>1 =.2 | 0>0 1>0 =.1 | 1>1 1>1 =0
    [0 1]
    0> 0> | 1> 1> | 0> 1>
)";

TEST(MaxN, BestTransitionThatFollows) {
    const genotype_graph graph = graph_from(BEST_NEIGHBOURS);
    // Group 1 has transitions 4 to 9 of the graph.
    EXPECT_EQ(graph.maxN(1, 2 * 0), 5) << "from the pair (0, 0), 0.4 beats 0.1";
    EXPECT_EQ(graph.maxN(1, 2 * 1), 6) << "the first of two with 0.2";
    EXPECT_EQ(graph.maxN(1, 2 * 2), 6) << "the same pair in the other order";
    EXPECT_EQ(graph.maxN(1, 2 * 3), 9) << "a linked transition of weight 0 is better than none";
    EXPECT_EQ(graph.maxN(0, 2 * 5), -1) << "nothing in group 0 leaves the pair (1, 1)";
}

TEST(MaxP, BestTransitionThatPrecedes) {
    const genotype_graph graph = graph_from(BEST_NEIGHBOURS);
    EXPECT_EQ(graph.maxP(0, 2 * 4), 0);
    EXPECT_EQ(graph.maxP(0, 2 * 6), 1) << "the first of two with 0.3";
    EXPECT_EQ(graph.maxP(0, 2 * 9), 3);
    EXPECT_EQ(graph.maxP(1, 2 * 10), 4) << "into the pair (0, 0), the first of two with 0.1";
    EXPECT_EQ(graph.maxP(1, 2 * 11), 5);
    EXPECT_EQ(graph.maxP(1, 2 * 12), 6);
}

TEST(MaxN, NoneInAnEmptyOrUnlinkedGroup) {
    genotype_graph graph = graph_from(">0 >0");
    graph.pushTrans({});
    EXPECT_EQ(graph.maxN(1, 0), -1);
    EXPECT_EQ(graph.maxP(1, 0), -1);
    graph = graph_from(R"(
        >0 >0
        1> 1>
    )");
    EXPECT_EQ(graph.maxN(1, 0), -1);
    EXPECT_EQ(graph.maxP(0, 2), -1);
}

TEST(Store, AddsNormalisedProbabilities) {
    genotype_graph graph = graph_from(R"(
        >0 >0 =1 | >0 >1 =3
        [0 1]
        0> 0> =2 | 0> 1> =2 | 1> 1> =4
    )");
    std::fill(graph.trans_store.begin(), graph.trans_store.end(), 0.0F);
    const std::vector<float> prob = graph.trans_prob;
    graph.store();
    EXPECT_EQ(graph.trans_store, (std::vector<float>{0.25F, 0.75F, 0.25F, 0.25F, 0.5F}));
    graph.store();
    EXPECT_EQ(graph.trans_store, (std::vector<float>{0.5F, 1.5F, 0.5F, 0.5F, 1.0F}));
    EXPECT_EQ(graph.trans_prob, prob) << "trans_prob is unchanged";
    graph.normalize();
    EXPECT_EQ(graph.trans_store, (std::vector<float>{0.25F, 0.75F, 0.25F, 0.25F, 0.5F}));
}

TEST(Store, SumsInDoubleAndRoundsOnce) {
    std::mt19937 random(3);
    for (int trial = 0; trial < 50; ++trial) {
        genotype_graph graph("NA1");
        std::vector<float> expected;
        for (int g = 0; g < 4; ++g) {
            graph.pushTrans(std::vector<unsigned char>(2 * (random() % 30)));  // groups may be empty
        }
        for (float& p : graph.trans_prob) p = std::ldexp(static_cast<float>(random() % 1000 + 1), -10);
        for (float& p : graph.trans_store) p = std::ldexp(static_cast<float>(random() % 1000), -8);
        for (std::size_t g = 0; g < 4; ++g) {
            double sum = 0.0;
            for (unsigned k = 0; k < graph.trans_count[g]; ++k)
                sum += graph.trans_prob[graph.trans_offset[g] + k];
            for (unsigned k = 0; k < graph.trans_count[g]; ++k) {
                const unsigned t = graph.trans_offset[g] + k;
                const double grown = static_cast<double>(graph.trans_store[t]) + graph.trans_prob[t] / sum;
                expected.push_back(static_cast<float>(grown));
            }
        }
        graph.store();
        EXPECT_EQ(graph.trans_store, expected);
    }
}

TEST(Normalize, EachGroupSeparately) {
    genotype_graph graph = graph_from(R"(
        >0 >0 =6 | >0 >1 =2
        [0 1]
        0> 0> =5
    )");
    graph.normalize();
    EXPECT_EQ(graph.trans_store, (std::vector<float>{0.75F, 0.25F, 1.0F}));
    EXPECT_EQ(graph.trans_prob, (std::vector<float>{6, 2, 5}));
}

TEST(PrintState, OneLinePerTransitionAndCandidate) {
    genotype_graph graph = graph_from(R"(
        >0 >1 =0.5
        [01 10]
        0> 1> =1
    )");
    graph.trans_store[0] = 2;
    std::ostringstream text;
    graph.print_state(text);
    EXPECT_EQ(text.str(),
              "NA1: 1 segments, 2 loci\n"
              "group 0: 0>0 0>1 prob 0.5 store 2\n"
              "segment 0, candidate 0: 01\n"
              "segment 0, candidate 1: 10\n"
              "group 1: 0>0 1>0 prob 1 store 1\n");
}

TEST(CheckInvariants, FindsViolations) {
    const std::string good = R"(
        >0 >1
        [00 11]
        0>0 1>1 | 0>1 1>0
        [0 1]
        0> 1>
    )";
    EXPECT_TRUE(support::check_invariants(graph_from(good)));
    EXPECT_FALSE(support::check_invariants(graph_from(">0 >2\n[00 11]\n0> 1>")));
    EXPECT_FALSE(support::check_invariants(graph_from(">0 >1\n[00 11]\n0> 0>")));
    EXPECT_FALSE(support::check_invariants(graph_from(">0 >1\n[00 11]")));
    genotype_graph graph = graph_from(good);
    graph.trans_store.pop_back();
    EXPECT_FALSE(support::check_invariants(graph));
    graph = graph_from(good);
    graph.seg_length[0] = 3;
    EXPECT_FALSE(support::check_invariants(graph));
}

}  // namespace
