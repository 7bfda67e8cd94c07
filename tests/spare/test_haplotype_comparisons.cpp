#include "spare/haplotype_comparisons.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>

#include "support/haplotype_text.h"

namespace {

using support::haplotype;
using support::random_alleles;

TEST(DistanceLookup, CountsTheSetBitsOfEachByte) {
    for (int byte = 0; byte < 256; ++byte) {
        int n_set = 0;
        for (int rest = byte; rest > 0; rest /= 2) n_set += rest % 2;
        EXPECT_EQ(spare::distance_lookup[byte], n_set);
    }
}

TEST(HammingWithin, DistanceAtTheLimitIsWithin) {
    EXPECT_EQ(spare::hamming_within(chaplotype(8), haplotype("11000000"), 0, 7, 2), 2);
    EXPECT_EQ(spare::hamming_within(chaplotype(8), haplotype("11100000"), 0, 7, 2), DISTANCE_BEYOND_LIMIT);
}

TEST(HammingWithin, EmptyRangeIsWithinAnyLimit) {
    EXPECT_EQ(spare::hamming_within(chaplotype(24), haplotype(std::string(24, '1')), 16, 3, -1), 0);
}

TEST(HammingWithin, IsTheDistanceUpToTheLimit) {
    std::mt19937 random(3);
    for (int trial = 0; trial < 300; ++trial) {
        const int n = 1 + static_cast<int>(random() % 100);
        const chaplotype x = haplotype(random_alleles(n, random)), y = haplotype(random_alleles(n, random));
        const int l0 = static_cast<int>(random() % n), l1 = static_cast<int>(random() % n);
        const int first = std::min(l0, l1), last = std::max(l0, l1), distance = x.hamming(y, first, last);
        for (const int limit : {-1, 0, distance - 1, distance, distance + 1, DISTANCE_BEYOND_LIMIT})
            EXPECT_EQ(spare::hamming_within(x, y, first, last, limit),
                      distance > limit ? DISTANCE_BEYOND_LIMIT : distance)
                << "limit " << limit;
    }
}

TEST(Perfectmatch, EqualHaplotypes) {
    const chaplotype x(32);
    EXPECT_EQ(spare::perfectmatch(x, x, 0, 31, 0), 32);
    EXPECT_EQ(spare::perfectmatch(x, x, 0, 31, 1), 0);
    EXPECT_EQ(spare::perfectmatch(x, x, 0, 31, -5), 32);
    EXPECT_EQ(spare::perfectmatch(x, x, 9, 10, 0), 8) << "counts whole bytes";
    EXPECT_EQ(spare::perfectmatch(x, x, 16, 3, 0), 0);
}

TEST(Perfectmatch, IsTheLongestRunOfEqualBytes) {
    std::mt19937 random(5);
    for (int trial = 0; trial < 300; ++trial) {
        const int n = 8 * (1 + static_cast<int>(random() % 12));
        const std::string a = random_alleles(n, random);
        std::string b = a;
        for (int change = static_cast<int>(random() % 5); change > 0; --change) {
            char& allele = b[random() % n];
            allele = allele == '0' ? '1' : '0';
        }
        const int l0 = static_cast<int>(random() % n), l1 = static_cast<int>(random() % n);
        const int first = std::min(l0, l1), last = std::max(l0, l1);
        int longest = 0, run = 0;
        for (int byte = first / 8; byte <= last / 8; ++byte) {
            run = a.compare(8 * byte, 8, b, 8 * byte, 8) == 0 ? run + 8 : 0;
            longest = std::max(longest, run);
        }
        const chaplotype x = haplotype(a), y = haplotype(b);
        EXPECT_EQ(spare::perfectmatch(x, y, first, last, 0), longest);
        // The requested length is compared with the loci left, of which there are none at the last byte.
        for (const int min_length : {1, 8, longest, n})
            EXPECT_EQ(spare::perfectmatch(x, y, first, last, min_length), min_length > 0 ? 0 : longest);
    }
}

struct switch_row {
    const char* name;
    const char* x;
    const char* a;
    const char* b;
    int n_switch, n_mismatch;
};

TEST(Switcherror, OneHaplotypeAlongTwo) {
    for (const switch_row& r : {switch_row{"there and back", "011", "001", "110", 2, 0},
                                switch_row{"follows the first", "0110", "0110", "1001", 0, 0},
                                switch_row{"follows the second", "1001", "0110", "1001", 0, 0},
                                switch_row{"equal to both starts on the second", "01", "01", "00", 1, 0},
                                switch_row{"equal to both and stays there", "01", "00", "01", 0, 0},
                                switch_row{"mismatches leave the state alone", "0100", "0000", "1011", 0, 1},
                                switch_row{"mismatches come before any state", "11", "01", "00", 0, 1},
                                switch_row{"nothing but mismatches", "11", "00", "00", 0, 2}}) {
        int n_switch = -7, n_mismatch = -7;
        const std::string x = r.x;
        spare::switcherror(haplotype(x), haplotype(r.a), haplotype(r.b), 0, static_cast<int>(x.size()) - 1,
                           n_switch, n_mismatch);
        EXPECT_EQ(n_switch, r.n_switch) << r.name;
        EXPECT_EQ(n_mismatch, r.n_mismatch) << r.name;
    }
}

TEST(Switcherror, EmptyRangeSetsBothCountsToZero) {
    int n_switch = -7, n_mismatch = -7;
    const chaplotype h(8);
    spare::switcherror(h, h, h, 5, 4, n_switch, n_mismatch);
    EXPECT_EQ(n_switch, 0);
    EXPECT_EQ(n_mismatch, 0);
    n_switch = n_mismatch = -7;
    spare::switcherror(h, h, h, h, 5, 4, n_switch, n_mismatch);
    EXPECT_EQ(n_switch, 0);
    EXPECT_EQ(n_mismatch, 0);
}

/// Walks along x and tracks the reference followed, 'a' or 'b'.
std::pair<int, int> follow_plainly(const std::string& x, const std::string& a, const std::string& b,
                                   int first, int last) {
    int n_switch = 0, n_mismatch = 0;
    char followed = '?';
    for (int l = first; l <= last; ++l) {
        if (a[l] == b[l] && x[l] != a[l]) {
            ++n_mismatch;
            continue;
        }
        const bool on_a = x[l] == a[l], on_b = x[l] == b[l];
        if (followed == '?') followed = on_b ? 'b' : 'a';
        if (followed == 'a' ? !on_a : !on_b) {
            ++n_switch;
            followed = followed == 'a' ? 'b' : 'a';
        }
    }
    return {n_switch, n_mismatch};
}

TEST(Switcherror, AgreesWithReference) {
    std::mt19937 random(8);
    for (int trial = 0; trial < 500; ++trial) {
        const int n = 1 + static_cast<int>(random() % 40);
        const std::string x = random_alleles(n, random), a = random_alleles(n, random),
                          b = random_alleles(n, random);
        const int first = static_cast<int>(random() % n), last = static_cast<int>(random() % n);
        int n_switch = 0, n_mismatch = 0;
        spare::switcherror(haplotype(x), haplotype(a), haplotype(b), first, last, n_switch, n_mismatch);
        EXPECT_EQ(std::pair(n_switch, n_mismatch), follow_plainly(x, a, b, first, last));
    }
}

TEST(Switcherror, PairOfHaplotypes) {
    struct row {
        const char* name;
        const char *h0, *h1, *t0, *t1;
        int n_switch, n_mismatch;
    };
    for (const row& r : {row{"the truth itself", "0101", "1010", "0101", "1010", 0, 0},
                         row{"the truth in swapped order", "1010", "0101", "0101", "1010", 0, 0},
                         row{"one switch", "0110", "1001", "0101", "1010", 1, 0},
                         row{"switch and back", "0011", "1100", "0111", "1000", 2, 0},
                         row{"other genotypes", "01", "01", "00", "10", 0, 2},
                         row{"a mismatch in between", "001", "100", "001", "110", 0, 1},
                         // Homozygous at the start, where h1 equals t0: the pair starts in the swapped order.
                         row{"homozygous start", "00", "01", "00", "01", 1, 0},
                         row{"homozygous start, swapped", "00", "01", "01", "00", 0, 0}}) {
        int n_switch = -7, n_mismatch = -7;
        const int last = static_cast<int>(std::string(r.h0).size()) - 1;
        spare::switcherror(haplotype(r.h0), haplotype(r.h1), haplotype(r.t0), haplotype(r.t1), 0, last,
                           n_switch, n_mismatch);
        EXPECT_EQ(n_switch, r.n_switch) << r.name;
        EXPECT_EQ(n_mismatch, r.n_mismatch) << r.name;
    }
}

TEST(Switcherror, HeterozygotesCountChangesOfPhase) {
    std::mt19937 random(9);
    const auto opposite = [](std::string text) {
        for (char& allele : text) allele = allele == '0' ? '1' : '0';
        return text;
    };
    for (int trial = 0; trial < 200; ++trial) {
        const int n = 1 + static_cast<int>(random() % 40);
        const std::string h = random_alleles(n, random), t = random_alleles(n, random);
        int expected = 0;
        for (int l = 1; l < n; ++l) expected += (h[l] == t[l]) != (h[l - 1] == t[l - 1]);
        int n_switch = 0, n_mismatch = 0;
        spare::switcherror(haplotype(h), haplotype(opposite(h)), haplotype(t), haplotype(opposite(t)), 0,
                           n - 1, n_switch, n_mismatch);
        EXPECT_EQ(n_switch, expected);
        EXPECT_EQ(n_mismatch, 0);
    }
}

}  // namespace
