#include "objects/bit_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
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

TEST_P(bit_kernels_of, DistanceOfLongArrays) {
    const std::string a = random_alleles(8 * 400, random), b = random_alleles(8 * 400, random);
    const chaplotype x = haplotype(a), y = haplotype(b);
    for (int n = 100; n < 400; ++n)
        ASSERT_EQ(kernels.distance(x.data.data(), y.data.data(), n), plain_distance(a, b, 0, n))
            << n << " bytes";
}

TEST_P(bit_kernels_of, ScanGivesTheDistancesOfEachTile) {
    constexpr int N_TILES = 3;
    for (const int n_words : {1, 2, 30, 31, 32, 33, 61, 62, 63, 64, 93, 94, 95, 100}) {
        const int stride = n_words + 2;
        const auto random_word = [&] { return std::uint64_t{random()} << 32 | random(); };
        std::vector<bit_kernels::tile_line> lines(static_cast<std::size_t>(N_TILES) * stride);
        for (auto& line : lines)
            for (std::uint64_t& word : line.words) word = random_word();
        std::vector<bit_kernels::target_words> targets(n_words);
        for (auto& target : targets) target = {random_word(), random_word(), ~std::uint64_t{0}};
        targets.front().counted <<= 24;
        targets.back().counted >>= 16;
        // One haplotype differs from the first target at all loci, and one equals it.
        for (int w = 0; w < n_words; ++w) {
            lines[stride + w].words[3] = ~targets[w].t0;
            lines[stride + w].words[4] = targets[w].t0;
        }
        const std::vector<int> tiles = {2, 1};
        std::vector<int> d0(8 * N_TILES, -1), d1(8 * N_TILES, -1);
        kernels.scan(lines.data(), stride, tiles.data(), 2, targets.data(), n_words, d0.data(), d1.data());
        for (int h = 0; h < 8 * N_TILES; ++h) {
            int to0 = 0, to1 = 0;
            for (int w = 0; w < n_words; ++w) {
                const std::uint64_t word = lines[h / 8 * stride + w].words[h % 8];
                to0 += std::popcount((word ^ targets[w].t0) & targets[w].counted);
                to1 += std::popcount((word ^ targets[w].t1) & targets[w].counted);
            }
            const bool is_scanned = h >= 8;
            ASSERT_EQ(d0[h], is_scanned ? to0 : -1) << n_words << " words, haplotype " << h;
            ASSERT_EQ(d1[h], is_scanned ? to1 : -1) << n_words << " words, haplotype " << h;
        }
    }
}

TEST_P(bit_kernels_of, DistanceReadsNoByteOutside) {
    for (int n = 0; n < 300; ++n) {
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
