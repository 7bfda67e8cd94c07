#include "objects/bit_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <random>
#include <string>

#include "objects/haplotype_tiles.h"
#include "support/haplotype_text.h"

namespace {

using bit_kernels::kernel_set;
using support::haplotype;
using support::random_alleles;

/// Each set of kernels that this machine has.
class bit_kernels_of : public ::testing::TestWithParam<const kernel_set*> {
  protected:
    const kernel_set& kernels = *GetParam();
    std::mt19937 random{1};
};

/// Differing alleles among the loci of the bytes from `first_byte` on.
int plain_distance(const std::string& a, const std::string& b, int first_byte, int n_bytes) {
    int n = 0;
    const int end = std::min(static_cast<int>(a.size()), 8 * (first_byte + n_bytes));
    for (int l = 8 * first_byte; l < end; ++l) n += a[l] != b[l];
    return n;
}

TEST_P(bit_kernels_of, DistanceOfAnyNumberOfBytesFromAnyByte) {
    const std::string a = random_alleles(320, random), b = random_alleles(320, random);
    const chaplotype x = haplotype(a), y = haplotype(b);
    for (int first = 0; first < 20; ++first)
        for (int n = 0; first + n <= 40; ++n)
            ASSERT_EQ(kernels.distance(x.data.data() + first, y.data.data() + first, n),
                      plain_distance(a, b, first, n))
                << n << " bytes from byte " << first;
}

TEST_P(bit_kernels_of, DistanceReadsNoByteBeyond) {
    for (int n = 0; n < 30; ++n) {
        // In vectors of just this size, so that a sanitizer sees what is read behind them.
        const std::vector<unsigned char> x(n, 0xF0), y(n, 0xCC);
        EXPECT_EQ(kernels.distance(x.data(), y.data(), n), 4 * n);
    }
}

TEST_P(bit_kernels_of, TilesGiveBothDistances) {
    haplotype_tiles tiles;
    for (int trial = 0; trial < 200; ++trial) {
        const int n = 2 + static_cast<int>(random() % 40),
                  n_loci = 1 + static_cast<int>(random() % (trial % 10 == 0 ? 6000 : 300));
        const int n_bytes = (n_loci + 7) / 8, first = static_cast<int>(random() % n_bytes),
                  n_range = 1 + static_cast<int>(random() % (n_bytes - first));
        std::vector<std::string> texts;
        for (int h = 0; h < n; ++h) texts.push_back(random_alleles(n_loci, random));
        tiles.copy(support::haplotypes(texts));
        ASSERT_EQ(tiles.size(), n);
        ASSERT_EQ(tiles.all().size(), (n + 7) / 8);
        const int t0 = static_cast<int>(random() % n), t1 = static_cast<int>(random() % n);
        const std::vector<int> some = {tiles.all().back(), 0};
        for (const std::vector<int>& of_tiles : {tiles.all(), some}) {
            std::vector<int> d0(1, -1), d1(48, -1);
            tiles.distances(of_tiles, t0, t1, first, n_range, d0, d1, kernels);
            for (const int tile : of_tiles)
                for (int h = 8 * tile; h < std::min(8 * tile + 8, n); ++h) {
                    ASSERT_EQ(d0[h], plain_distance(texts[h], texts[t0], first, n_range));
                    ASSERT_EQ(d1[h], plain_distance(texts[h], texts[t1], first, n_range));
                }
            if (of_tiles.size() == 2 && n > 16) {
                EXPECT_EQ(d1[8], -1) << "a tile that was not asked for";
            }
        }
    }
}

TEST_P(bit_kernels_of, TilesCountMoreThanAByteHolds) {
    haplotype_tiles tiles;
    tiles.copy({haplotype(std::string(5000, '0')), haplotype(std::string(5000, '1'))});
    std::vector<int> d0, d1;
    tiles.distances(tiles.all(), 0, 1, 1, 623, d0, d1, kernels);
    EXPECT_EQ(d0[0], 0);
    EXPECT_EQ(d0[1], 623 * 8);
    EXPECT_EQ(d1[0], 623 * 8);
    EXPECT_EQ(d1[1], 0);
}

TEST_P(bit_kernels_of, OverlapCountsLociOfTheRange) {
    for (int trial = 0; trial < 1000; ++trial) {
        const int n_loci = 1 + static_cast<int>(random() % 300);
        const std::string c0 = random_alleles(n_loci, random), c1 = random_alleles(n_loci, random),
                          h0 = random_alleles(n_loci, random), h1 = random_alleles(n_loci, random);
        int first = static_cast<int>(random() % n_loci), last = static_cast<int>(random() % n_loci);
        if (first > last) std::swap(first, last);
        int only0 = 0, only1 = 0, both = 0;
        for (int l = first; l <= last; ++l) {
            const bool match0 = c0[l] == h0[l], match1 = c1[l] == h1[l];
            only0 += match0 && !match1;
            only1 += match1 && !match0;
            both += match0 && match1 && h0[l] != h1[l];
        }
        const auto counts =
            kernels.overlap(haplotype(c0), haplotype(c1), haplotype(h0), haplotype(h1), first, last);
        ASSERT_EQ(counts.only0, only0) << first << " to " << last;
        ASSERT_EQ(counts.only1, only1) << first << " to " << last;
        ASSERT_EQ(counts.both, both) << first << " to " << last;
    }
}

INSTANTIATE_TEST_SUITE_P(Sets, bit_kernels_of, ::testing::ValuesIn(bit_kernels::available_kernels()),
                         [](const auto& set) {
                             std::string name = set.param->name;
                             std::erase_if(name, [](unsigned char c) { return std::isalnum(c) == 0; });
                             return name;
                         });

TEST(AvailableBitKernels, EndInTheOneThatEveryMachineHas) {
    const auto sets = bit_kernels::available_kernels();
    ASSERT_FALSE(sets.empty());
    EXPECT_STREQ(sets.back()->name, "baseline");
    for (const kernel_set* set : sets) EXPECT_TRUE(set->is_available()) << set->name;
    EXPECT_EQ(&bit_kernels::kernels(), sets.front());
}

}  // namespace
