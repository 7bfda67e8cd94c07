#include "objects/bit_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "objects/chaplotype.h"
#include "support/haplotype_text.h"
#include "support/plain_distance.h"

namespace {

using bit_kernels::kernel_set;
using support::haplotype;
using support::plain_distance;
using support::random_alleles;

/// Each set of kernels that this machine supports.
class bit_kernels_of : public ::testing::TestWithParam<const kernel_set*> {
  protected:
    const kernel_set& kernels = *GetParam();
    std::mt19937 random{1};
};

TEST_P(bit_kernels_of, DistanceForAnyLengthAndStart) {
    const std::string a = random_alleles(320, random), b = random_alleles(320, random);
    const chaplotype x = haplotype(a), y = haplotype(b);
    for (int first = 0; first < 20; ++first)
        for (int n = 0; first + n <= 40; ++n)
            ASSERT_EQ(kernels.distance(x.data.data() + first, y.data.data() + first, n),
                      plain_distance(a, b, first, n))
                << n << " bytes from byte " << first;
}

TEST_P(bit_kernels_of, DistanceReadsNoByteOutside) {
    for (int n = 0; n < 30; ++n) {
        // In vectors of exactly this size, so that a sanitizer detects reads past the end.
        const std::vector<unsigned char> x(n, 0xF0), y(n, 0xCC);
        EXPECT_EQ(kernels.distance(x.data(), y.data(), n), 4 * n);
    }
}

TEST_P(bit_kernels_of, OverlapCountsLociInTheRange) {
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
        const chaplotype packed[] = {haplotype(c0), haplotype(c1), haplotype(h0), haplotype(h1)};
        const auto counts = kernels.overlap(packed[0].data.data(), packed[1].data.data(),
                                            packed[2].data.data(), packed[3].data.data(), first, last);
        ASSERT_EQ(counts.only0, only0) << first << " to " << last;
        ASSERT_EQ(counts.only1, only1) << first << " to " << last;
        ASSERT_EQ(counts.both, both) << first << " to " << last;
    }
}

TEST_P(bit_kernels_of, UnpackTakesTheLowBitFirst) {
    for (int K = 0; K < 140; ++K) {
        std::vector<std::uint64_t> words;
        for (int k = 0; k < K; ++k) words.push_back(std::uint64_t{random()} << 32 | random());
        for (int byte = 0; byte < 8; ++byte) {
            std::vector<unsigned char> alleles(8 * K, 9);
            kernels.unpack(words.data(), byte, K, alleles.data());
            for (int b = 0; b < 8; ++b)
                for (int k = 0; k < K; ++k)
                    ASSERT_EQ(alleles[b * K + k], words[k] >> (8 * byte + b) & 1)
                        << "bit " << b << " of byte " << byte << " of word " << k << " of " << K;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sets, bit_kernels_of, ::testing::ValuesIn(bit_kernels::available_kernels()),
                         [](const auto& set) {
                             std::string name = set.param->name;
                             std::erase_if(name, [](unsigned char c) { return std::isalnum(c) == 0; });
                             return name;
                         });

TEST(AvailableBitKernels, BaselineComesLast) {
    const auto sets = bit_kernels::available_kernels();
    ASSERT_FALSE(sets.empty());
    EXPECT_STREQ(sets.back()->name, "baseline");
    for (const kernel_set* set : sets) EXPECT_TRUE(set->is_available()) << set->name;
    EXPECT_EQ(&bit_kernels::kernels(), sets.front());
}

}  // namespace
