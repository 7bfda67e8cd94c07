// Packed haplotypes against lists of alleles, and each set of kernels against a reference implementation.
#include <algorithm>
#include <array>

#include "objects/bit_kernels.h"
#include "objects/chaplotype.h"
#include "readers/bed_decoding.h"
#include "selection/haplotype_tiles.h"
#include "support.h"

namespace {

constexpr int MOST_LOCI = 140;  // more than two words

using alleles = std::vector<unsigned char>;

alleles read_alleles(fuzz::input& bytes, int n_loci) {
    alleles list(n_loci);
    unsigned eight = 0;
    for (int l = 0; l < n_loci; ++l, eight >>= 1) {
        if (l % 8 == 0) eight = bytes.byte();
        list[l] = static_cast<unsigned char>(eight & 1);
    }
    return list;
}

/// `count` alleles from locus `l` on as bits, 0 past the last one.
std::uint64_t bits_at(const alleles& list, int l, int count) {
    std::uint64_t bits = 0;
    for (int j = 0; j < count && l + j < static_cast<int>(list.size()); ++j)
        bits |= std::uint64_t{list[l + j]} << j;
    return bits;
}

std::vector<bool> in_bits(const alleles& list, int first, int end) {
    return {list.begin() + first, list.begin() + end};
}

/// Appends the alleles in words, the first of which has `cut` alleles.
chaplotype in_words(const alleles& list, int cut) {
    chaplotype hap;
    const int n = static_cast<int>(list.size());
    for (int l = 0, count = std::min(cut, 64); l < n; l += count, count = std::min(n - l, 64))
        hap.push_back(bits_at(list, l, count), count);
    return hap;
}

chaplotype in_pieces(const alleles& list, int cut) {
    chaplotype hap(in_bits(list, 0, cut));
    hap.push_back(in_bits(list, cut, static_cast<int>(list.size())));
    return hap;
}

/// A copy of `hap`, appended in two parts.
chaplotype joined(const chaplotype& hap, int cut) {
    chaplotype copy;
    copy.push_back(hap, 0, cut);
    copy.push_back(hap, cut, hap.size() - cut);
    return copy;
}

void check_access(const chaplotype& hap, const alleles& list, int cut) {
    const int n = static_cast<int>(list.size());
    FUZZ_LAW(in_words(list, cut) == hap && in_pieces(list, cut) == hap && joined(hap, cut) == hap);
    FUZZ_LAW(hap.count(cut, n - cut) == std::count(list.begin() + cut, list.end(), 1));
    chaplotype copy(static_cast<unsigned>(n));
    std::uint64_t following = 0;  // 64 alleles from locus l on
    int next = n;                 // locus with allele 1, from l on
    for (int l = n - 1; l >= 0; --l) {
        following = following << 1 | list[l];
        if (list[l] == 1) next = l;
        FUZZ_LAW(hap.get(l) == list[l]);
        FUZZ_LAW(hap.get8(l) == (following & 0xFF));
        FUZZ_LAW(hap.get64(l) == following);
        FUZZ_LAW(hap.next(l) == next);
        copy.set8(l, hap.get8(l), std::min(n - l, 8));
    }
    FUZZ_LAW(copy == hap);
}

/// Number of different alleles at the loci of whole bytes.
int plain_distance(const alleles& a, const alleles& b, int first_byte, int end_byte) {
    int n = 0;
    for (int l = 8 * first_byte; l < std::min(8 * end_byte, static_cast<int>(a.size())); ++l)
        n += a[l] != b[l];
    return n;
}

bit_kernels::overlap_counts plain_overlap(const std::array<alleles, 4>& h, int first, int last) {
    bit_kernels::overlap_counts n{};
    for (int l = first; l <= last; ++l) {
        const bool match0 = h[0][l] == h[2][l], match1 = h[1][l] == h[3][l];
        n.only0 += match0 && !match1;
        n.only1 += match1 && !match0;
        n.both += match0 && match1 && h[0][l] != h[1][l];
    }
    return n;
}

void check_kernels(const std::array<chaplotype, 4>& haps, const std::array<alleles, 4>& lists, int first,
                   int last) {
    const int first_byte = first / 8, end_byte = last / 8 + 1, n_bytes = end_byte - first_byte;
    const bit_kernels::overlap_counts overlap = plain_overlap(lists, first, last);
    const auto at = [&](int h) { return haps[h].data.data() + first_byte; };
    haplotype_tiles tiles;
    tiles.copy({haps.begin(), haps.end()});
    for (const bit_kernels::kernel_set* set : bit_kernels::available_kernels()) {
        FUZZ_LAW(set->distance(at(0), at(1), n_bytes) ==
                 plain_distance(lists[0], lists[1], first_byte, end_byte));
        target_distances d;
        tiles.distances(tiles.all(), 2, 1, first_byte, n_bytes, d, *set);
        for (std::size_t h = 0; h < haps.size(); ++h) {
            FUZZ_LAW(d.d0[h] == plain_distance(lists[h], lists[2], first_byte, end_byte));
            FUZZ_LAW(d.d1[h] == plain_distance(lists[h], lists[1], first_byte, end_byte));
        }
        const auto whole = [&](int h) { return haps[h].data.data(); };
        const auto found = set->overlap(whole(0), whole(1), whole(2), whole(3), first, last);
        FUZZ_LAW(found.only0 == overlap.only0 && found.only1 == overlap.only1 && found.both == overlap.both);
    }
}

void check_bed(std::string_view bytes, int n_individuals) {
    const std::ptrdiff_t stride = (n_individuals + 3) / 4;
    std::vector<unsigned char> rows(stride * BLOCK_VARIANTS);
    std::copy_n(bytes.begin(), std::min(bytes.size(), rows.size()), rows.begin());
    std::vector<genotype_word> words(n_individuals), expected(n_individuals);
    decode_bed(rows.data(), stride, n_individuals, words.data());
    decode_bed_plain(rows.data(), stride, n_individuals, expected.data());
    FUZZ_LAW(words == expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::input bytes(data, size);
    const int n_loci = 1 + static_cast<int>(bytes.byte() % MOST_LOCI);
    const int last = static_cast<int>(bytes.byte()) % n_loci,
              first = static_cast<int>(bytes.byte()) % (last + 1);
    const int n_individuals = 1 + static_cast<int>(bytes.byte() % 9);

    std::array<alleles, 4> lists;
    std::array<chaplotype, 4> haps;
    for (std::size_t h = 0; h < haps.size(); ++h) {
        lists[h] = read_alleles(bytes, n_loci);
        haps[h] = chaplotype(in_bits(lists[h], 0, n_loci));
    }
    check_access(haps[0], lists[0], first);
    check_kernels(haps, lists, first, last);
    check_bed(bytes.rest(), n_individuals);
    return 0;
}
