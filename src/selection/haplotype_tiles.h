#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "objects/bit_kernels.h"

class chaplotype;

/// Distances of haplotypes to two targets, and the working memory to compute them.
struct target_distances {
    std::vector<int> d0, d1;  // indexed by haplotype; entries that were not asked for are undefined
    std::vector<bit_kernels::target_words> targets;
};

/// A copy of all haplotypes for scans over them. Eight haplotypes form a tile. A line of memory holds one
/// word, 64 loci, of each of the eight, and the lines of a tile follow one another. So a scan over a range of
/// loci reads only the words that it needs, line after line, and compares eight haplotypes at a time.
class haplotype_tiles {
  public:
    /// Replaces the copy. All haplotypes must have at least as many loci as the first one; further loci are
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
