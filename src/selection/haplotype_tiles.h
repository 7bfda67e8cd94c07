#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "objects/bit_kernels.h"

class chaplotype;

/// Distances of haplotypes to two targets, and the memory that it takes to compute them.
struct target_distances {
    std::vector<int> d0, d1;  // of haplotype h at [h]; entries that were not asked for mean nothing
    std::vector<bit_kernels::target_words> targets;
};

/// A copy of many haplotypes for scans of all of them. Eight are side by side in a tile: a line of memory
/// holds one word, 64 loci, of each, and a tile's lines follow one another. So a scan over a range of loci
/// reads just the words that it needs, line after line, and counts eight haplotypes at a time.
class haplotype_tiles {
  public:
    /// Replaces the copy. All haplotypes have at least as many loci as the first one; those behind it are
    /// left out.
    void copy(const std::vector<chaplotype>& H);
    /// Number of haplotypes copied.
    int size() const { return n_haplotypes; }

    /// The numbers of all tiles.
    const std::vector<int>& all() const { return numbers; }
    /// Hamming distances of the haplotypes of some tiles, tile i holding haplotypes 8 * i to 8 * i + 7, to
    /// the haplotypes `target0` and `target1`, over `n_bytes` bytes (of eight loci) from byte `first_byte`
    /// on.
    void distances(const std::vector<int>& of_tiles, int target0, int target1, int first_byte, int n_bytes,
                   target_distances& out,
                   const bit_kernels::kernel_set& kernels = bit_kernels::kernels()) const;

  private:
    std::uint64_t word_of(int h, int word) const {
        const std::size_t tile = h / bit_kernels::TILE;
        return lines[tile * n_words + word].words[h % bit_kernels::TILE];
    }

    std::vector<bit_kernels::tile_line> lines;
    std::vector<int> numbers;
    int n_haplotypes = 0;
    int n_words = 0;  // of a haplotype
};
