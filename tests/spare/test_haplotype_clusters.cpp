#include "spare/haplotype_clusters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "support/child_process.h"
#include "support/haplotype_text.h"
#include "support/plain_generator.h"

namespace {

using support::haplotypes;
using support::plain_generator;

std::vector<int> numbers(int n) {
    std::vector<int> all;
    for (int i = 0; i < n; ++i) all.push_back(i);
    return all;
}

TEST(SampleIndex, DuplicatesCountOnce) {
    for (int seed = 1; seed <= 20; ++seed) {
        plain_generator plain(seed);
        std::set<int> expected;
        for (int draw = 0; draw < 10; ++draw) expected.insert(static_cast<int>(plain.draw() * 15));
        random_source draws(seed);
        EXPECT_EQ(spare::sampleIndex(10, 15, draws), expected);
        EXPECT_EQ(draws.draw(), plain.draw());
    }
    random_source draws(1);
    EXPECT_EQ(spare::sampleIndex(5, 1, draws), std::set<int>{0});
    EXPECT_TRUE(spare::sampleIndex(0, 5, draws).empty());
}

TEST(Set2vec, KeepsTheOrder) {
    EXPECT_EQ(spare::set2vec({7, 1, 3}), (std::vector<int>{1, 3, 7}));
    EXPECT_TRUE(spare::set2vec({}).empty());
}

TEST(Kplusplus, SeedsAreFarApart) {
    std::vector<std::string> texts;
    for (int h = 0; h < 30; ++h)
        texts.push_back(h % 3 == 0   ? "00000000 00000000"
                        : h % 3 == 1 ? "11111111 00000000"
                                     : "11111111 11111111");
    const auto H = haplotypes(texts);
    for (int seed = 1; seed <= 10; ++seed) {
        random_source draws(seed);
        std::set<int> kinds;
        for (const int h : spare::kplusplus(H, {0, 16}, 3, numbers(30), draws)) kinds.insert(h % 3);
        EXPECT_EQ(kinds.size(), 3U) << "seed " << seed;
        const std::vector<int> members = {3, 6, 9, 12, 4, 7, 10};
        const std::vector<int> seeds = spare::kplusplus(H, {0, 16}, 2, members, draws);
        ASSERT_EQ(seeds.size(), 2U);
        for (const int h : seeds) EXPECT_NE(std::find(members.begin(), members.end(), h), members.end());
        EXPECT_NE(seeds[0] % 3, seeds[1] % 3);
    }
}

// The byte after the span may be past the end of the haplotype, so the distances must not read it.
TEST(Kplusplus, DistancesStopAtTheEndOfTheSpan) {
    std::vector<std::string> texts;
    for (int h = 0; h < 30; ++h)
        texts.push_back(h % 3 == 0   ? "00000000 00000000"
                        : h % 3 == 1 ? "00000000 11111111"
                                     : "11100000 00000000");
    const auto H = haplotypes(texts);
    for (int seed = 1; seed <= 10; ++seed) {
        random_source draws(seed);
        const std::vector<int> seeds = spare::kplusplus(H, {0, 8}, 2, numbers(30), draws);
        EXPECT_NE(seeds[0] % 3 == 2, seeds[1] % 3 == 2) << "only the third kind differs within the span";
    }
}

TEST(Hap2float, AllelesOfTheSpan) {
    const auto H = haplotypes({"11111111 01100101"});
    EXPECT_EQ(spare::hap2float(H[0], {8, 8}), (std::vector<float>{0, 1, 1, 0, 0, 1, 0, 1}));
}

TEST(AlleleFrequencies, OfTheMembersOverTheSpan) {
    const auto H =
        haplotypes({"00000000 10000001", "00000000 11000000", "11111111 10000000", "00000000 10000000"});
    EXPECT_EQ(spare::allele_frequencies(H, numbers(4), {8, 8}),
              (std::vector<float>{1.0F, 0.25F, 0, 0, 0, 0, 0, 0.25F}));
    EXPECT_EQ(spare::allele_frequencies(H, {1}, {8, 8}), (std::vector<float>{1, 1, 0, 0, 0, 0, 0, 0}));
}

TEST(SquaredDistance, ToAMeanOverAllLoci) {
    const auto H = haplotypes({"11111111 01010101"});
    EXPECT_EQ(spare::squared_distance(H[0], std::vector<float>(8, 0.5F), {8, 8}), 2.0F);
    EXPECT_EQ(spare::squared_distance(H[0], {0, 1, 0, 1, 0, 1, 0, 1}, {8, 8}), 0.0F);
    EXPECT_EQ(spare::squared_distance(H[0], {}, {8, 0}), 0.0F);
}

TEST(TopUpClosest, AddsHaplotypesOfOtherClusters) {
    const auto H = haplotypes({"00000000", "00000000", "11000000", "10000000", "11110000", "11100000"});
    spare::cluster_map clusters = {{0, {0, 1}}, {1, {2, 3, 4, 5}}};
    spare::top_up_closest(H, {0, 8}, {0, 0, 1, 1, 1, 1}, 4, clusters);
    // 2 and 3 fill the list; 4, the farthest of all, replaces 2, the farther of them.
    EXPECT_EQ(clusters[0], (std::vector<int>{0, 1, 4, 3}));
    EXPECT_EQ(clusters[1].size(), 4U) << "full already";
}

TEST(TopUpClosest, EmptyClusterAborts) {
    EXPECT_TRUE(support::aborts_on("it->second.size()>0", [] {
        spare::cluster_map clusters = {{0, {}}};
        spare::top_up_closest(haplotypes({"00000000"}), {0, 8}, {0}, 2, clusters);
    }));
}

TEST(SummariseKmeans, PrintsNumberAndSizes) {
    std::ostringstream text;
    spare::summariseKmeans({{0, {1, 2, 3}}, {4, {5, 6, 7, 8, 9, 10}}, {1, {11, 12}}}, 20, text);
    EXPECT_EQ(text.str(), "3 clusters.\nMax: 6\n\tMin: 2\n\tMean: 3\n");
}

}  // namespace
