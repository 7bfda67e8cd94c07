#include "containers/snp.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(Snp, IdDefaultsToThePosition) {
    const snp s(12345, "A", "GT");
    EXPECT_EQ(s.id, "12345");
    EXPECT_EQ(s.a0, "A");
    EXPECT_EQ(s.a1, "GT");
    EXPECT_EQ(s.cm, -1.0);
    EXPECT_EQ(s.bp, 12345);
    EXPECT_EQ(s.idx, -1);
    EXPECT_FALSE(s.in_ref);
    EXPECT_FALSE(s.is_turned);
    EXPECT_EQ(s.chromosome, "");
}

struct strand_row {
    const char *a0, *a1, *x, *y;
    int expected;
};

TEST(Strand, Examples) {
    for (const strand_row& r :
         {strand_row{"A", "G", "A", "G", 0}, strand_row{"A", "G", "G", "A", 1},
          strand_row{"A", "G", "A", "A", 0}, strand_row{"A", "G", "G", "G", 1},
          strand_row{"A", "G", "C", "T", -1},
          strand_row{"A", "G", "T", "C", -1},  // complementary alleles are different texts
          strand_row{"A", "G", "A", "C", -1}, strand_row{"A", "G", "C", "C", -1},
          strand_row{"A", "A", "A", "G", 0}, strand_row{"A", "A", "G", "A", 1},
          strand_row{"A", "A", "A", "A", 0}, strand_row{"A", "A", "G", "G", -1},
          strand_row{"A", "A", "G", "T", -1}, strand_row{"AT", "A", "A", "AT", 1}})
        EXPECT_EQ(snp(1, r.a0, r.a1).strand(r.x, r.y), r.expected)
            << r.a0 << " " << r.a1 << " with " << r.x << " " << r.y;
}

TEST(Strand, TruthTableOverThreeAlleles) {
    const std::vector<std::string> alleles = {"A", "C", "G"};
    int n_same = 0, n_swapped = 0;
    for (const auto& a0 : alleles)
        for (const auto& a1 : alleles)
            for (const auto& x : alleles)
                for (const auto& y : alleles) {
                    // If one side has a single allele, that allele alone decides.
                    const bool one_here = a0 == a1, one_there = x == y;
                    const bool same = one_here || one_there ? a0 == x : a0 == x && a1 == y;
                    bool swapped = a0 == y && a1 == x;
                    if (one_there && !one_here) swapped = a1 == x;
                    if (one_here && !one_there) swapped = a0 == y;
                    const int expected = same ? 0 : swapped ? 1 : -1;
                    EXPECT_EQ(snp(1, a0, a1).strand(x, y), expected)
                        << a0 << " " << a1 << " with " << x << " " << y;
                    n_same += expected == 0;
                    n_swapped += expected == 1;
                }
    // Same order: 6 pairs of two alleles with themselves, 6 with their first allele alone, and 3 single
    // alleles, each with 3 second alleles.
    EXPECT_EQ(n_same, 6 + 6 + 9);
    // Swapped: 6 pairs with the swapped pair, 6 with their second allele alone, and 3 single alleles after
    // another allele.
    EXPECT_EQ(n_swapped, 6 + 6 + 6);
}

TEST(Flip, SwapsTheAlleles) {
    snp s(100, "A", "GT");
    s.flip();
    EXPECT_EQ(s.a0, "GT");
    EXPECT_EQ(s.a1, "A");
    EXPECT_TRUE(s.is_turned);
    s.flip();
    EXPECT_EQ(s.a0, "A");
    EXPECT_FALSE(s.is_turned);
}

TEST(Fill, CopiesTheFirstAlleleToAnEmptySecond) {
    snp one(100, "A", ""), two(100, "A", "G");
    one.fill();
    two.fill();
    EXPECT_EQ(one.a1, "A");
    EXPECT_EQ(two.a1, "G");
}

}  // namespace
