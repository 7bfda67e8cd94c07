#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class chaplotype;

/// The alleles of all haplotypes at a stretch of loci, a row of bits for each locus: bit h & 63 of word h >>
/// 6 is the allele of haplotype h. Haplotypes are stored the other way round (see chaplotype), so this is a
/// copy.
class allele_rows {
  public:
    /// Copies the loci `first` to `last`, both inclusive, of the haplotypes `H`.
    void copy(const std::vector<chaplotype>& H, int first, int last);

    /// The row of locus `l`, which must be one of those copied.
    std::span<const std::uint64_t> row(int l) const {
        return {words.data() + static_cast<std::size_t>(l - first_locus) * n_words, n_words};
    }
    /// The allele of haplotype `h` in a row.
    static int allele(std::span<const std::uint64_t> row, int h) {
        return static_cast<int>(row[h >> 6] >> (h & 63) & 1);
    }

  private:
    int first_locus = 0;
    std::size_t n_words = 0;  // of a row
    std::vector<std::uint64_t> words;
};
