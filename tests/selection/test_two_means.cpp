#include "selection/two_means.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "support/haplotype_text.h"
#include "support/plain_generator.h"

namespace {

using support::haplotypes;

std::vector<int> numbers(int n) {
    std::vector<int> all;
    for (int i = 0; i < n; ++i) all.push_back(i);
    return all;
}

// ---- distances

TEST(ThinnedLoci, CompareOneLocusOfEachByte) {
    const auto H = haplotypes({"00000000 00000000 00000000", "00100000 01100000 00011111"});
    const int expected[] = {0, 1, 2, 1, 1, 1, 1, 1};
    for (int offset = 0; offset < 8; ++offset)
        EXPECT_EQ(thinned_loci(H, 0, 3, offset).hamming(0, 1), expected[offset]) << "bit " << offset;
    const thinned_loci later(H, 1, 1, 2);
    EXPECT_EQ(later.size(), 1);
    EXPECT_EQ(later.hamming(0, 1), 1);
    EXPECT_EQ(later.allele(1, 0), 1);
    EXPECT_EQ(thinned_loci(H, 0, 0, 0).hamming(0, 1), 0);
}

TEST(TwoMeans, StartFromTwoHaplotypes) {
    const auto H = haplotypes({"00000000 00000000", "01000000 00000000", "01000000 01000000"});
    const two_means means(thinned_loci(H, 0, 2, 1), {1, 2});
    EXPECT_EQ(means.means()[0], (std::vector<float>{1, 0}));
    EXPECT_EQ(means.means()[1], (std::vector<float>{1, 1}));
    EXPECT_EQ(means.distance(0, 0), 1.0F);
    EXPECT_EQ(means.distance(0, 1), 2.0F);
    EXPECT_EQ(means.distance(2, 0), 1.0F);
    EXPECT_EQ(means.distance(2, 1), 0.0F);
}

TEST(TwoMeans, UpdateBothHalves) {
    const auto H =
        haplotypes({"10000000 00000000", "10000000 10000000", "00000000 10000000", "00000000 00000000"});
    two_means means(thinned_loci(H, 0, 2, 0), {0, 1});
    half_sums sums(means.n_loci()), more(means.n_loci());
    for (const int h : {0, 1}) means.add(h, 0, sums);
    means.add(2, 1, sums);
    means.add(3, 0, more);
    sums += more;
    EXPECT_EQ(sums.n_members, (std::array<int, 2>{3, 1}));
    means.update(sums);
    EXPECT_EQ(means.means()[0], (std::vector<float>{2.0F / 3.0F, 1.0F / 3.0F}));
    EXPECT_EQ(means.means()[1], (std::vector<float>{0.0F, 1.0F}));
    const float third = 1.0F / 3.0F, to_one = 2.0F / 3.0F - 1.0F;
    EXPECT_EQ(means.distance(0, 0), to_one * to_one + third * third);
    EXPECT_EQ(means.distance(0, 1), 2.0F);
}

TEST(TwoMeans, MeanOfAnEmptyHalfIsNaN) {
    const auto H = haplotypes({"10000000", "00000000"});
    two_means means(thinned_loci(H, 0, 1, 0), {0, 1});
    half_sums sums(means.n_loci());
    means.add(0, 0, sums);
    means.update(sums);
    EXPECT_EQ(means.means()[0][0], 1.0F);
    EXPECT_TRUE(std::isnan(means.means()[1][0]));
}

// ---- seeds

TEST(DrawDistantPair, BranchOfOneOrNoneHasNoPair) {
    const auto H = haplotypes({"11111111", "00000000"});
    random_source draws(1);
    std::pair<int, int> seeds(-1, -1);
    EXPECT_FALSE(draw_distant_pair({}, thinned_loci(H, 0, 1, 0), draws, seeds));
    EXPECT_FALSE(draw_distant_pair({1}, thinned_loci(H, 0, 1, 0), draws, seeds));
    EXPECT_EQ(draws.draw(), support::plain_generator(1).draw()) << "takes no draw";
}

TEST(DrawDistantPair, SmallOrUniformBranchIsCoveredByTheDraws) {
    const auto two = haplotypes({"11111111", "00000000"});
    const auto alike = haplotypes(std::vector<std::string>(40, "01100110 01010101"));
    random_source draws(1);
    std::pair<int, int> seeds;
    EXPECT_FALSE(draw_distant_pair({0, 1}, thinned_loci(two, 0, 1, 3), draws, seeds));
    EXPECT_FALSE(draw_distant_pair(numbers(40), thinned_loci(alike, 0, 2, 3), draws, seeds));
}

TEST(DrawDistantPair, FindsTwoKinds) {
    std::vector<std::string> texts;
    for (int h = 0; h < 1000; ++h) texts.push_back(h % 4 == 0 ? "11111111 11111111" : "00000000 00000000");
    const auto H = haplotypes(texts);
    for (int seed = 1; seed <= 20; ++seed) {
        random_source draws(seed);
        std::pair<int, int> seeds;
        ASSERT_TRUE(draw_distant_pair(numbers(1000), thinned_loci(H, 0, 2, 5), draws, seeds));
        EXPECT_NE(seeds.first % 4 == 0, seeds.second % 4 == 0) << "seed " << seed;
    }
}

// ---- lists of the closest

TEST(TakeClosest, FirstMembersThenOnlyFartherOnes) {
    using list = std::vector<std::pair<int, float>>;
    list out;
    take_closest(numbers(6), {1, 3, 0, 2, 4, 3}, 3, out);
    // 0, 1 and 2 fill it; 3 is nearer than the farthest, 4 replaces 1, and 5 is nearer than 4.
    EXPECT_EQ(out, (list{{0, 1.0F}, {4, 4.0F}, {2, 0.0F}}));
    out = {{9, 9.0F}, {9, 9.0F}, {9, 9.0F}, {9, 9.0F}};
    take_closest({2, 0}, {0, 1}, 4, out);
    EXPECT_EQ(out, (list{{2, 0.0F}, {0, 1.0F}, {9, 9.0F}, {9, 9.0F}})) << "the rest is unchanged";
    out.clear();
    take_closest({}, {}, 2, out);
    EXPECT_EQ(out, (list{{0, 0.0F}, {0, 0.0F}}));
}

}  // namespace
