#pragma once

#include <array>
#include <set>
#include <utility>
#include <vector>

#include "objects/chaplotype.h"
#include "utils/random_source.h"

/// One locus of each byte of a window: the loci that a split compares.
class thinned_loci {
  public:
    /// The locus of bit `offset` of each of `n` bytes from byte `first_byte` on. `H` is held by reference.
    thinned_loci(const std::vector<chaplotype>& H, int first_byte, int n, int offset)
        : haplotypes(&H), first(first_byte), n_loci(n), bit(offset) {}

    int size() const { return n_loci; }
    /// Allele of haplotype `h` at the `j`-th of these loci.
    int allele(int h, int j) const { return ((*haplotypes)[h].data[first + j] >> bit) & 1; }
    /// Number of these loci at which two haplotypes differ.
    int hamming(int a, int b) const;

  private:
    const std::vector<chaplotype>* haplotypes;
    int first;
    int n_loci;
    int bit;
};

/// Draws random pairs of haplotypes of a branch, at least 100 and until one pair differs, and returns the
/// most distant pair in `seeds`. Returns false if the draws have covered the whole branch, which is then too
/// small or too uniform to be split.
bool draw_distant_pair(const std::vector<int>& branch, const thinned_loci& loci, random_source& random,
                       std::pair<int, int>& seeds);

/// Numbers of haplotypes and of alleles 1 in both halves of a branch.
struct half_sums {
    std::array<int, 2> n_members{};
    std::array<std::vector<int>, 2> alleles;  // one value per thinned locus

    explicit half_sums(int n_loci) : alleles{std::vector<int>(n_loci), std::vector<int>(n_loci)} {}
    half_sums& operator+=(const half_sums& other);
};

/// Two means of haplotypes over thinned loci (MacQueen 1967), and the distances to them.
class two_means {
  public:
    /// Starts from two haplotypes.
    two_means(const thinned_loci& loci, std::pair<int, int> seeds);

    int n_loci() const { return thinned.size(); }
    /// Squared distance of haplotype `h` to mean `m`, 0 or 1.
    float distance(int h, int m) const;
    /// Adds a haplotype to half `m`.
    void add(int h, int m, half_sums& sums) const;
    /// Moves the means to those of the halves. The mean of an empty half is NaN.
    void update(const half_sums& sums);

    const std::array<std::vector<float>, 2>& means() const { return mu; }

  private:
    void tabulate_distances();

    thinned_loci thinned;
    std::array<std::vector<float>, 2> mu;                 // one value per thinned locus
    std::array<std::vector<float>, 2> squared_distances;  // to mu, at 2 * thinned locus + allele
};

/// Fills `out` with the first `n` members of `branch` and their distances, which have one entry for each
/// member. Then the farthest of the later members replaces the farthest of those, if it is farther still.
/// Entries past the end of a shorter branch stay unchanged.
void take_closest(const std::vector<int>& branch, const std::vector<float>& distances, int n,
                  std::vector<std::pair<int, float>>& out);
