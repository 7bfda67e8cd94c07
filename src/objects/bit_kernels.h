#pragma once

#include <array>
#include <cstdint>
#include <vector>

/// The inner loops over packed haplotypes: Hamming distances and overlaps of matches, 64 loci at a time, and
/// unpacking. Haplotypes are packed as in chaplotype: locus l is bit l & 7 of byte l >> 3.
namespace bit_kernels {

/// Numbers of loci by the way they match; see kernel_set::overlap.
struct overlap_counts {
    int only0;  // c0 matches h0, and c1 doesn't match h1
    int only1;  // the reverse
    int both;   // both match, and the four alleles are not all equal
};

constexpr int TILE = 8;  // haplotypes in a tile

/// The same 64 loci of the haplotypes of a tile; see haplotype_tiles.
struct alignas(64) tile_line {
    std::array<std::uint64_t, TILE> words;
};

/// 64 loci of two targets, and the mask of the loci that count.
struct target_words {
    std::uint64_t t0, t1, counted;
};

/// The kernels of one instruction set. All sets give the same numbers.
struct kernel_set {
    const char* name;
    bool (*is_available)();

    /// Number of bits in which `n` bytes differ.
    int (*distance)(const unsigned char* a, const unsigned char* b, int n);
    /// Distances of the haplotypes of tiles tiles[0], tiles[1], ... to two targets over `n_words` words.
    /// `lines` points to the first line to compare of tile 0; the same line of the next tile is `stride`
    /// lines further. The distances of haplotype j of tile i go to d0[8 * i + j] and d1[8 * i + j].
    void (*scan)(const tile_line* lines, int stride, const int* tiles, int n_tiles,
                 const target_words* targets, int n_words, int* d0, int* d1);
    /// Compares the haplotypes c0 with h0 and c1 with h1 at the loci `first` to `last`, both inclusive.
    overlap_counts (*overlap)(const unsigned char* c0, const unsigned char* c1, const unsigned char* h0,
                              const unsigned char* h1, int first, int last);
    /// Unpacks the alleles of n haplotypes at the eight loci of byte `byte` of their words. The allele of
    /// haplotype h at bit b of the byte goes to alleles[b * n + h].
    void (*unpack)(const std::uint64_t* words, int byte, int n, unsigned char* alleles);
};

/// The fastest set that this machine supports.
const kernel_set& kernels();
/// All sets that this machine supports, the fastest first.
std::vector<const kernel_set*> available_kernels();

}  // namespace bit_kernels
