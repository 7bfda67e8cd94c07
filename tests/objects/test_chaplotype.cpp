#include "objects/chaplotype.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/child_process.h"
#include "support/files.h"
#include "support/haplotype_text.h"
#include "support/temporary_folder.h"
#include "utils/streams.h"

namespace {

using support::bits;
using support::haplotype;
using support::random_alleles;
using support::temporary_folder;

TEST(DistanceLookup, CountsTheSetBitsOfEachByte) {
    for (int byte = 0; byte < 256; ++byte) {
        int n_set = 0;
        for (int rest = byte; rest > 0; rest /= 2) n_set += rest % 2;
        EXPECT_EQ(distance_lookup[byte], n_set);
    }
}

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

TEST(Chaplotype, TakesUpTo64AllelesAtOnce) {
    std::mt19937_64 random(1);
    const std::string before = "1000000101000010";
    for (int held = 0; held <= 16; ++held)
        for (int count = 0; count <= 64; ++count) {
            chaplotype h = haplotype(before.substr(0, held));
            const std::uint64_t alleles = count == 0 ? 0 : random() >> (64 - count);
            std::string expected = before.substr(0, held);
            for (int j = 0; j < count; ++j) expected += (alleles >> j & 1) != 0 ? '1' : '0';
            h.push_back(alleles, count);
            ASSERT_EQ(h, haplotype(expected)) << count << " behind " << held;
        }
}

TEST(Chaplotype, TakesAnyLociOfAnother) {
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
                    << count << " from " << first << " behind " << held;
            }
}

TEST(Chaplotype, FindsAndCountsTheLociThatAreSet) {
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

TEST(Chaplotype, EqualsOneOfTheSameAllelesAndLength) {
    EXPECT_EQ(haplotype("0110"), haplotype("0110"));
    EXPECT_NE(haplotype("0110"), haplotype("0111"));
    EXPECT_NE(haplotype("0110"), haplotype("01100"));
}

TEST(Chaplotype, TakesNoAlleleWhereThereIsNoneYet) {
    chaplotype h;
    h.push_back(std::uint64_t{0}, 0);
    EXPECT_EQ(h.size(), 0);
    EXPECT_TRUE(h.data.empty());
}

TEST(Chaplotype, GivesEightAllelesAtOnceAndZerosBehindTheLast) {
    std::mt19937 random(1);
    const chaplotype h = haplotype(random_alleles(61, random));
    for (int l = 0; l < h.size(); ++l) {
        unsigned eight = 0;
        for (int j = 0; j < 8 && l + j < h.size(); ++j) eight |= static_cast<unsigned>(h.get(l + j)) << j;
        ASSERT_EQ(h.get8(l), eight) << l;
    }
}

TEST(Chaplotype, GivesUpTo64AllelesAtOnceAndZerosBehindTheLast) {
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

TEST(Chaplotype, SetsUpToEightAllelesAtOnceAndNoOther) {
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

TEST(Chaplotype, HoldsWhatIsSet) {
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

TEST(Chaplotype, ClearGivesItsMemoryBack) {
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
    h.data[0] = 0xFF;  // as if loci beyond the end had been written
    h.push_back(bits("00000"));
    EXPECT_EQ(h.toString(), "11100000");
}

/// Loci where two texts differ, among those of the bytes that hold `first` to `last`.
int plain_distance(const std::string& a, const std::string& b, int first, int last) {
    int n = 0;
    for (int l = 0; l < static_cast<int>(a.size()); ++l)
        if (l / 8 >= first / 8 && l / 8 <= last / 8) n += a[l] != b[l];
    return n;
}

TEST(Hamming, AgreesWithThePlainDistance) {
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
        for (const int limit : {-1, 0, distance - 1, distance, distance + 1, 1000000000})
            EXPECT_EQ(x.hamming(y, first, last, limit), distance > limit ? 1000000000 : distance)
                << "limit " << limit;
    }
}

TEST(Hamming, EmptyHaplotypesAndRangesGiveZero) {
    EXPECT_EQ(chaplotype().hamming(chaplotype()), 0);
    const chaplotype x(24), y = haplotype(std::string(24, '1'));
    EXPECT_EQ(x.hamming(y, 16, 3), 0);
    EXPECT_EQ(x.hamming(y, 16, 3, -1), 0);
}

TEST(Hamming, CoversWholeBytes) {
    const chaplotype x(24), y = haplotype("00000001 00000001 10000000");
    EXPECT_EQ(x.hamming(y, 9, 10), 1) << "locus 15 lies past the last one, and in its byte";
    EXPECT_EQ(x.hamming(y, 7, 8), 2);
    EXPECT_EQ(x.hamming(y, 0, 16), 3);
}

TEST(Hamming, LimitItselfIsNotPassed) {
    EXPECT_EQ(chaplotype(8).hamming(haplotype("11000000"), 0, 7, 2), 2);
    EXPECT_EQ(chaplotype(8).hamming(haplotype("11100000"), 0, 7, 2), 1000000000);
}

TEST(Perfectmatch, EqualHaplotypes) {
    const chaplotype x(32);
    EXPECT_EQ(x.perfectmatch(x, 0, 31, 0), 32);
    EXPECT_EQ(x.perfectmatch(x, 0, 31, 1), 0);
    EXPECT_EQ(x.perfectmatch(x, 0, 31, -5), 32);
    EXPECT_EQ(x.perfectmatch(x, 9, 10, 0), 8) << "counts whole bytes";
    EXPECT_EQ(x.perfectmatch(x, 16, 3, 0), 0);
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
        EXPECT_EQ(x.perfectmatch(y, first, last, 0), longest);
        // The length asked for is compared with what is still to come, which is nothing at the last byte.
        for (const int min_length : {1, 8, longest, n})
            EXPECT_EQ(x.perfectmatch(y, first, last, min_length), min_length > 0 ? 0 : longest);
    }
}

struct switch_row {
    const char* name;
    const char* x;
    const char* a;
    const char* b;
    int n_switch, n_mismatch;
};

TEST(Switcherror, OfOneHaplotypeAlongTwoByHand) {
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
        haplotype(x).switcherror(haplotype(r.a), haplotype(r.b), 0, static_cast<int>(x.size()) - 1, n_switch,
                                 n_mismatch);
        EXPECT_EQ(n_switch, r.n_switch) << r.name;
        EXPECT_EQ(n_mismatch, r.n_mismatch) << r.name;
    }
}

TEST(Switcherror, OfEmptyRangeSetsBothCountsToZero) {
    int n_switch = -7, n_mismatch = -7;
    const chaplotype h(8);
    h.switcherror(h, h, 5, 4, n_switch, n_mismatch);
    EXPECT_EQ(n_switch, 0);
    EXPECT_EQ(n_mismatch, 0);
    n_switch = n_mismatch = -7;
    switcherror(h, h, h, h, 5, 4, n_switch, n_mismatch);
    EXPECT_EQ(n_switch, 0);
    EXPECT_EQ(n_mismatch, 0);
}

/// Walks along x with the reference followed, 'a' or 'b', in hand.
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

TEST(Switcherror, AgreesWithThePlainWalk) {
    std::mt19937 random(8);
    for (int trial = 0; trial < 500; ++trial) {
        const int n = 1 + static_cast<int>(random() % 40);
        const std::string x = random_alleles(n, random), a = random_alleles(n, random),
                          b = random_alleles(n, random);
        const int first = static_cast<int>(random() % n), last = static_cast<int>(random() % n);
        int n_switch = 0, n_mismatch = 0;
        haplotype(x).switcherror(haplotype(a), haplotype(b), first, last, n_switch, n_mismatch);
        EXPECT_EQ(std::pair(n_switch, n_mismatch), follow_plainly(x, a, b, first, last));
    }
}

TEST(Switcherror, OfAPairByHand) {
    struct row {
        const char* name;
        const char *h0, *h1, *t0, *t1;
        int n_switch, n_mismatch;
    };
    for (const row& r :
         {row{"the truth itself", "0101", "1010", "0101", "1010", 0, 0},
          row{"the truth the other way round", "1010", "0101", "0101", "1010", 0, 0},
          row{"one switch", "0110", "1001", "0101", "1010", 1, 0},
          row{"switch and back", "0011", "1100", "0111", "1000", 2, 0},
          row{"other genotypes", "01", "01", "00", "10", 0, 2},
          row{"a mismatch in between", "001", "100", "001", "110", 0, 1},
          // Homozygous at the start, h1 equals t0 there: the pair starts on the other way round.
          row{"homozygous start", "00", "01", "00", "01", 1, 0},
          row{"homozygous start, turned", "00", "01", "01", "00", 0, 0}}) {
        int n_switch = -7, n_mismatch = -7;
        const int last = static_cast<int>(std::string(r.h0).size()) - 1;
        switcherror(haplotype(r.h0), haplotype(r.h1), haplotype(r.t0), haplotype(r.t1), 0, last, n_switch,
                    n_mismatch);
        EXPECT_EQ(n_switch, r.n_switch) << r.name;
        EXPECT_EQ(n_mismatch, r.n_mismatch) << r.name;
    }
}

TEST(Switcherror, OfHeterozygotesCountsChangesOfTheWayRound) {
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
        switcherror(haplotype(h), haplotype(opposite(h)), haplotype(t), haplotype(opposite(t)), 0, n - 1,
                    n_switch, n_mismatch);
        EXPECT_EQ(n_switch, expected);
        EXPECT_EQ(n_mismatch, 0);
    }
}

TEST(ToString, OneCharacterALocus) {
    EXPECT_EQ(chaplotype().toString(), "");
    EXPECT_EQ(haplotype("011010011").toString(), "011010011");
}

std::string written(const chaplotype& h) {
    const temporary_folder folder;
    ofile file(folder.at("haplotype"), true);
    h.write(file);
    file.close();
    return support::read_file(folder.at("haplotype"));
}

TEST(Write, LociThenBytesThenData) {
    EXPECT_EQ(written(chaplotype()), std::string(8, '\0'));
    EXPECT_EQ(written(haplotype("1000 0000 01")), std::string("\xA\0\0\0\2\0\0\0\1\2", 10));
}

TEST(Read, GivesBackWhatWasWritten) {
    std::mt19937 random(10);
    for (const int n : {0, 1, 8, 9, 100, 1000000}) {
        const temporary_folder folder;
        const chaplotype h = haplotype(random_alleles(n, random));
        ifile file(folder.put("haplotype", written(h) + "more"), true);
        chaplotype read = haplotype("111");
        EXPECT_TRUE(read.read(file));
        EXPECT_EQ(read.size(), n);
        EXPECT_EQ(read.data, h.data);
        std::string rest(4, ' ');
        EXPECT_TRUE(file.readBytes(rest.data(), 4));
        EXPECT_EQ(rest, "more");
    }
}

TEST(Read, TellsWhenTheFileEndsBefore) {
    const std::string whole = written(haplotype("1010 1010 1010 1010"));
    for (std::size_t n = 0; n < whole.size(); ++n) {
        const temporary_folder folder;
        ifile file(folder.put("haplotype", whole.substr(0, n)), true);
        chaplotype read;
        EXPECT_FALSE(read.read(file)) << n << " bytes";
    }
    const temporary_folder folder;
    ifile file(folder.put("haplotype", whole.substr(0, 9)), true);
    chaplotype read;
    read.read(file);
    EXPECT_EQ(read.data[0], 0x55) << "what was read stays";
}

TEST(Read, SizesThatDisagreeStopTheRun) {
    const temporary_folder folder;
    const std::string name = folder.put("haplotype", std::string("\xA\0\0\0\3\0\0\0\1\2\3", 11));
    EXPECT_TRUE(support::stops_with(name + " declares a haplotype of 10 loci in 3 bytes", [&] {
        ifile file(name, true);
        chaplotype().read(file);
    }));
}

}  // namespace
