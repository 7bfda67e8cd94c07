#include "objects/bit_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <random>
#include <string>

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

TEST_P(bit_kernels_of, ScanGivesBothDistances) {
    for (int trial = 0; trial < 100; ++trial) {
        const int n_loci = 1 + static_cast<int>(random() % 200), n_bytes = (n_loci + 7) / 8;
        const int first = static_cast<int>(random() % n_bytes),
                  n = 1 + static_cast<int>(random() % (n_bytes - first));
        std::vector<std::string> texts;
        for (int h = 0; h < 12; ++h) texts.push_back(random_alleles(n_loci, random));
        const std::vector<chaplotype> H = support::haplotypes(texts);
        const unsigned char *t0 = H[10].data.data() + first, *t1 = H[11].data.data() + first;
        std::vector<int> d0(12, -1), d1(12, -1);
        kernels.scan(H.data(), nullptr, 12, first, n, t0, t1, d0.data(), d1.data());
        for (int h = 0; h < 12; ++h) {
            ASSERT_EQ(d0[h], plain_distance(texts[h], texts[10], first, n));
            ASSERT_EQ(d1[h], plain_distance(texts[h], texts[11], first, n));
        }
        const std::vector<int> list = {7, 0, 7, 3};
        std::fill(d0.begin(), d0.end(), -1);
        kernels.scan(H.data(), list.data(), 4, first, n, t0, t1, d0.data(), d1.data());
        for (int i = 0; i < 4; ++i) {
            ASSERT_EQ(d0[i], plain_distance(texts[list[i]], texts[10], first, n));
            ASSERT_EQ(d1[i], plain_distance(texts[list[i]], texts[11], first, n));
        }
        EXPECT_EQ(d0[4], -1) << "no more than the list";
    }
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
