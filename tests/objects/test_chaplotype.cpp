#include "objects/chaplotype.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/child_process.h"
#include "support/haplotype_text.h"

namespace {

using support::bits;
using support::haplotype;
using support::random_alleles;

TEST(Chaplotype, StartsEmptyOrWithZeros) {
    EXPECT_EQ(chaplotype().size(), 0);
    EXPECT_TRUE(chaplotype().data.empty());
    for (const unsigned n : {0U, 1U, 7U, 8U, 9U, 16U, 17U, 1000U}) {
        const chaplotype h(n);
        EXPECT_EQ(h.size(), static_cast<int>(n));
        EXPECT_EQ(h.data, std::vector<unsigned char>((n + 7) / 8, 0));
    }
}

TEST(Chaplotype, LocusZeroIsTheLowestBitOfByteZero) {
    EXPECT_EQ(haplotype("1000 0000 01").data, (std::vector<unsigned char>{0x01, 0x02}));
    EXPECT_EQ(haplotype("0000 0001").data, (std::vector<unsigned char>{0x80}));
    EXPECT_EQ(haplotype("1111 1111 111").data, (std::vector<unsigned char>{0xFF, 0x07}));
}

TEST(Chaplotype, AppendsUpTo64AllelesAtOnce) {
    std::mt19937_64 random(1);
    const std::string before = "1000000101000010";
    for (int held = 0; held <= 16; ++held)
        for (int count = 0; count <= 64; ++count) {
            chaplotype h = haplotype(before.substr(0, held));
            const std::uint64_t alleles = count == 0 ? 0 : random() >> (64 - count);
            std::string expected = before.substr(0, held);
            for (int j = 0; j < count; ++j) expected += (alleles >> j & 1) != 0 ? '1' : '0';
            h.push_back(alleles, count);
            ASSERT_EQ(h, haplotype(expected)) << count << " after " << held;
        }
}

TEST(Chaplotype, AppendsAnyLociOfAnother) {
    std::mt19937 random(1);
    const std::string alleles = random_alleles(200, random);
    const chaplotype other = haplotype(alleles);
    for (const int held : {0, 1, 5, 8, 64, 67})
        for (const int first : {0, 1, 8, 63, 64, 69})
            for (const int count : {0, 1, 7, 8, 9, 63, 64, 65, 128, 131}) {
                const std::string before = random_alleles(held, random);
                chaplotype h = haplotype(before);
                h.push_back(other, first, count);
                ASSERT_EQ(h, haplotype(before + alleles.substr(first, count)))
                    << count << " from " << first << " after " << held;
            }
}

TEST(Chaplotype, FindsAndCountsSetLoci) {
    std::mt19937 random(1);
    for (const unsigned one_in : {1U, 2U, 9U, 70U, 1000U}) {
        std::string alleles;
        for (int l = 0; l < 200; ++l) alleles += random() % one_in == 0 ? '1' : '0';
        const chaplotype h = haplotype(alleles);
        for (int l = 0; l <= 200; ++l) {
            ASSERT_EQ(h.next(l), static_cast<int>(std::min<std::size_t>(alleles.find('1', l), 200)));
            for (const int n : {0, 1, 8, 63, 64, 65, 128, 130})
                if (l + n <= 200) {
                    const std::string range = alleles.substr(l, n);
                    ASSERT_EQ(h.count(l, n), std::count(range.begin(), range.end(), '1'))
                        << n << " from " << l;
                }
        }
    }
    EXPECT_EQ(chaplotype().next(0), 0);
}

TEST(Chaplotype, EqualIfAllelesAndLengthAreEqual) {
    EXPECT_EQ(haplotype("0110"), haplotype("0110"));
    EXPECT_NE(haplotype("0110"), haplotype("0111"));
    EXPECT_NE(haplotype("0110"), haplotype("01100"));
}

TEST(Chaplotype, AppendingNothingToAnEmptyOneKeepsItEmpty) {
    chaplotype h;
    h.push_back(std::uint64_t{0}, 0);
    EXPECT_EQ(h.size(), 0);
    EXPECT_TRUE(h.data.empty());
}

TEST(Chaplotype, ReadsEightAllelesAtOnceAndZerosPastTheEnd) {
    std::mt19937 random(1);
    const chaplotype h = haplotype(random_alleles(61, random));
    for (int l = 0; l < h.size(); ++l) {
        unsigned eight = 0;
        for (int j = 0; j < 8 && l + j < h.size(); ++j) eight |= static_cast<unsigned>(h.get(l + j)) << j;
        ASSERT_EQ(h.get8(l), eight) << l;
    }
}

TEST(Chaplotype, ReadsUpTo64AllelesAtOnceAndZerosPastTheEnd) {
    std::mt19937 random(1);
    for (const int size : {1, 8, 63, 64, 65, 72, 100, 128, 150}) {
        const chaplotype h = haplotype(random_alleles(size, random));
        for (int l = 0; l < size; ++l) {
            std::uint64_t expected = 0;
            for (int j = 0; j < 64; ++j) {
                ASSERT_EQ(h.get64(l, j), expected) << j << " from " << l << " of " << size;
                if (l + j < size) expected |= static_cast<std::uint64_t>(h.get(l + j)) << j;
            }
            ASSERT_EQ(h.get64(l, 64), expected) << l << " of " << size;
            ASSERT_EQ(h.get64(l), expected) << l << " of " << size;
        }
    }
}

TEST(Chaplotype, SetsUpToEightAllelesAtOnce) {
    std::mt19937 random(1);
    for (int l = 0; l < 40; ++l)
        for (int count = 0; count <= std::min(8, 40 - l); ++count) {
            chaplotype h = haplotype(random_alleles(40, random)), plain = h;
            const auto alleles = static_cast<unsigned>(random());
            h.set8(l, alleles, count);
            for (int j = 0; j < count; ++j) plain.set(l + j, (alleles >> j & 1) != 0);
            ASSERT_EQ(h.data, plain.data) << count << " from " << l;
        }
}

TEST(Chaplotype, ReturnsWhatWasSet) {
    std::mt19937 random(1);
    for (int trial = 0; trial < 50; ++trial) {
        const int n = 1 + static_cast<int>(random() % 80);
        chaplotype h(static_cast<unsigned>(n));
        std::vector<bool> plain(n);
        for (int change = 0; change < 200; ++change) {
            const int l = static_cast<int>(random()) & 0x7FFFFFFF;
            const bool allele = random() % 2 == 0;
            h.set(l % n, allele);
            plain[l % n] = allele;
        }
        for (int l = 0; l < n; ++l) {
            EXPECT_EQ(h.get(l), plain[l] ? 1 : 0);
            EXPECT_EQ(h[l], plain[l] ? 1 : 0);
        }
        EXPECT_EQ(h.data, chaplotype(plain).data) << "bits past the end stay 0";
    }
}

TEST(Chaplotype, CopiesAreIndependent) {
    chaplotype h = haplotype("0101");
    chaplotype copy(h), assigned;
    assigned = h;
    h.set(0, true);
    EXPECT_EQ(copy.toString(), "0101");
    EXPECT_EQ(assigned.toString(), "0101");
    const chaplotype& self = h;
    h = self;
    EXPECT_EQ(h.toString(), "1101");
}

TEST(Chaplotype, ClearFreesMemory) {
    chaplotype h(1000);
    h.clear();
    EXPECT_EQ(h.size(), 0);
    EXPECT_TRUE(h.data.empty());
    EXPECT_EQ(h.data.capacity(), 0U);
}

TEST(PushBack, SixLociBehindFive) {
    chaplotype h = haplotype("10101");
    h.push_back(bits("110011"));
    EXPECT_EQ(h.size(), 11);
    EXPECT_EQ(h.data.size(), 2U);
    EXPECT_EQ(h.toString(), "10101110011");
}

TEST(PushBack, JoinsPiecesOfAnyLength) {
    std::mt19937 random(2);
    chaplotype h;
    std::string expected;
    for (int piece = 0; piece < 60; ++piece) {
        const std::string alleles = random_alleles(static_cast<int>(random() % 20), random);
        h.push_back(bits(alleles));
        expected += alleles;
        ASSERT_EQ(h.toString(), expected);
        ASSERT_EQ(h.data.size(), (expected.size() + 7) / 8);
    }
}

TEST(PushBack, ClearsAsWellAsSets) {
    chaplotype h = haplotype("111");
    h.data[0] = 0xFF;  // as if loci past the end had been written
    h.push_back(bits("00000"));
    EXPECT_EQ(h.toString(), "11100000");
}

/// Number of loci where two texts differ, among those of the bytes that hold `first` to `last`.
int plain_distance(const std::string& a, const std::string& b, int first, int last) {
    int n = 0;
    for (int l = 0; l < static_cast<int>(a.size()); ++l)
        if (l / 8 >= first / 8 && l / 8 <= last / 8) n += a[l] != b[l];
    return n;
}

TEST(Hamming, AgreesWithReference) {
    std::mt19937 random(3);
    for (int trial = 0; trial < 300; ++trial) {
        const int n = 1 + static_cast<int>(random() % 100);
        const std::string a = random_alleles(n, random), b = random_alleles(n, random);
        const chaplotype x = haplotype(a), y = haplotype(b);
        EXPECT_EQ(x.hamming(y), plain_distance(a, b, 0, n - 1));
        const int l0 = static_cast<int>(random() % n), l1 = static_cast<int>(random() % n);
        const int first = std::min(l0, l1), last = std::max(l0, l1);
        const int distance = plain_distance(a, b, first, last);
        EXPECT_EQ(x.hamming(y, first, last), distance);
    }
}

TEST(Hamming, EmptyHaplotypesAndRangesGiveZero) {
    EXPECT_EQ(chaplotype().hamming(chaplotype()), 0);
    const chaplotype x(24), y = haplotype(std::string(24, '1'));
    EXPECT_EQ(x.hamming(y, 16, 3), 0);
}

TEST(Hamming, CoversWholeBytes) {
    const chaplotype x(24), y = haplotype("00000001 00000001 10000000");
    EXPECT_EQ(x.hamming(y, 9, 10), 1) << "locus 15 is past the last one, but in the same byte";
    EXPECT_EQ(x.hamming(y, 7, 8), 2);
    EXPECT_EQ(x.hamming(y, 0, 16), 3);
}

TEST(ToString, OneCharacterPerLocus) {
    EXPECT_EQ(chaplotype().toString(), "");
    EXPECT_EQ(haplotype("011010011").toString(), "011010011");
}

}  // namespace
