#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

/// A distance larger than any two haplotypes can have. Marks an unset entry, or a distance beyond a limit.
constexpr int DISTANCE_BEYOND_LIMIT = 1000000000;

/// A haplotype: biallelic alleles packed eight to the byte. Locus l is bit l & 7 of byte l >> 3. Bits past
/// the last locus are 0; the distances, which compare whole bytes, rely on this. Also holds other flags of
/// loci.
class chaplotype {
  public:
    chaplotype() = default;
    /// `n` loci, all 0.
    explicit chaplotype(unsigned int n);
    explicit chaplotype(const std::vector<bool>& alleles);

    /// Removes all loci and frees the memory.
    void clear();

    /// Allele 0 or 1 at locus `l`, without a range check.
    int get(int l) const { return (data[l >> 3] >> (l & 7)) & 1; }
    int operator[](int l) const { return get(l); }
    void set(int l, bool a) {
        const auto bit = static_cast<unsigned char>(1U << (l & 7));
        data[l >> 3] = static_cast<unsigned char>(a ? data[l >> 3] | bit : data[l >> 3] & ~bit);
    }
    /// The alleles of the eight loci from `l` on, locus l + j at bit j; 0 past the last locus.
    unsigned get8(int l) const {
        const auto byte = static_cast<std::size_t>(l) >> 3;
        const unsigned next = byte + 1 < data.size() ? data[byte + 1] : 0;
        return (data[byte] | next << 8) >> (l & 7) & 0xFF;
    }
    /// The alleles of the 64 loci from `l` on, locus l + j at bit j; 0 past the last locus.
    std::uint64_t get64(int l) const {
        const auto byte = static_cast<std::size_t>(l) >> 3;
        std::uint64_t alleles = 0;
        if (byte + sizeof alleles > data.size()) {
            std::memcpy(&alleles, data.data() + byte, data.size() - byte);
            return alleles >> (l & 7);
        }
        std::memcpy(&alleles, data.data() + byte, sizeof alleles);
        if ((l & 7) == 0) return alleles;
        const std::uint64_t next = byte + sizeof alleles < data.size() ? data[byte + sizeof alleles] : 0;
        return alleles >> (l & 7) | next << (64 - (l & 7));
    }
    /// The same, with only the first `count` of them; the other bits are 0.
    std::uint64_t get64(int l, int count) const {
        return count < 64 ? get64(l) & ((std::uint64_t{1} << count) - 1) : get64(l);
    }
    /// Sets the alleles of the `count` loci from `l` on: at most eight, and none past the last locus.
    void set8(int l, unsigned alleles, int count) {
        const auto byte = static_cast<std::size_t>(l) >> 3;
        const unsigned mask = ((1U << count) - 1) << (l & 7), bits = alleles << (l & 7) & mask;
        data[byte] = static_cast<unsigned char>((data[byte] & ~mask) | bits);
        if (mask > 0xFF)
            data[byte + 1] = static_cast<unsigned char>((data[byte + 1] & ~(mask >> 8)) | bits >> 8);
    }
    int size() const { return static_cast<int>(n); }
    /// Appends alleles after the last locus.
    void push_back(const std::vector<bool>& alleles);
    /// Appends `count` alleles, at most 64. Bit j of `alleles` is the j-th one; the bits above must be 0.
    void push_back(std::uint64_t alleles, int count);
    /// Appends the alleles of `count` loci of another haplotype, from locus `first` on.
    void push_back(const chaplotype& o, int first, int count);

    /// The first locus from `l` on that has allele 1, or size().
    int next(int l) const;
    /// Number of the `n_loci` loci from `first` on that have allele 1.
    int count(int first, int n_loci) const;

    bool operator==(const chaplotype&) const = default;

    /// Hamming distance over all bytes of this haplotype.
    int hamming(const chaplotype& o) const;
    /// The same over the bytes that hold loci `first` to `last`, both inclusive. Loci of the two end bytes
    /// that are outside the range count too, which is accurate enough to rank neighbours.
    int hamming(const chaplotype& o, int first, int last) const;

    /// One character "0" or "1" per locus.
    std::string toString() const;

    std::vector<unsigned char> data;
    unsigned int n = 0;  // loci
};

/// The loci of a haplotype for which `keeps` is true, which has one entry for each locus, or fewer: those
/// past its end are dropped.
chaplotype selected(const chaplotype& from, const std::vector<bool>& keeps);
