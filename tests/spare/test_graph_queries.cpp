#include "spare/graph_queries.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <set>
#include <vector>

#include "support/graph_text.h"

namespace {

TEST(EqualPairs, AgreeWithSets) {
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
            const pair_of left_a{T[0][a], T[2][a]}, right_a{T[1][a], T[3][a]};
            const pair_of left_b{T[0][b], T[2][b]}, right_b{T[1][b], T[3][b]};
            ASSERT_EQ(spare::equalP(graph, 2 * a, 2 * b), left_a == left_b);
            ASSERT_EQ(spare::equalN(graph, 2 * a, 2 * b), right_a == right_b);
        }
}

TEST(GetB, FindsTheSegmentOfALocus) {
    const genotype_graph graph = support::graph_from(R"(
        >0 >0
        [0000]
        0>0 0>0
        [000]
        0>0 0>0
        [00000]
        0> 0>
    )");
    const int expected[] = {0, 0, 0, 0, 1, 1, 1, 2, 2, 2, 2, 2};
    for (int l = 0; l < 12; ++l) EXPECT_EQ(spare::getB(graph, l), expected[l]) << l;
    EXPECT_EQ(spare::getB(graph, 12), -1);
    EXPECT_EQ(spare::getB(graph, 1000), -1);
    EXPECT_EQ(spare::getB(genotype_graph("NA1"), 0), -1);
}

}  // namespace
