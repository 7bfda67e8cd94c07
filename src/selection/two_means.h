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

/// Two means of haplotypes over thinned loci (MacQueen 1967), and the distances to them.
class two_means {
  public:
    /// Starts from two haplotypes.
    two_means(const thinned_loci& loci, std::pair<int, int> seeds);

    /// Makes distance() use the current means.
    void tabulate_distances();
    /// Squared distance of haplotype `h` to mean `m`, 0 or 1, as of the last call of tabulate_distances().
    float distance(int h, int m) const;
    /// Recomputes both means from the members of a branch; is_first(h) is true for members of the first half.
    /// Returns the sizes of the halves. The mean of an empty half is NaN.
    template <class IsFirst>
    std::pair<int, int> update(const std::vector<int>& branch, IsFirst is_first);

    const std::array<std::vector<float>, 2>& means() const { return mu; }

  private:
    thinned_loci thinned;
    std::array<std::vector<float>, 2> mu;                 // one value per thinned locus
    std::array<std::vector<float>, 2> squared_distances;  // to mu, at 2 * thinned locus + allele
};

/// Fills `out` with the first `n` members of `branch`, each with distance(member). Then the farthest of the
/// later members replaces the farthest of those, if it is farther still. Entries past the end of a shorter
/// branch stay unchanged.
template <class Distance>
void take_closest(const std::vector<int>& branch, int n, Distance distance,
                  std::vector<std::pair<int, float>>& out) {
    out.resize(n);
    float worst = -1.0F;
    int worst_place = -1, count = 0;
    for (const int h : branch) {
        const float d = distance(h);
        const bool filling = count < n;
        if (d > worst) {
            worst = d;
            if (filling) worst_place = count;
            // A later member replaces only the farthest entry, and only if it is farther still.
            if (!filling && worst_place >= 0) out[worst_place] = {h, d};
        }
        if (filling) out[count] = {h, d};
        ++count;
    }
}

template <class IsFirst>
std::pair<int, int> two_means::update(const std::vector<int>& branch, IsFirst is_first) {
    for (std::vector<float>& mean : mu) mean.assign(thinned.size(), 0.0F);
    std::pair<int, int> sizes = {0, 0};
    for (const int h : branch) {
        const bool in_first = is_first(h);
        std::vector<float>& mean = mu[in_first ? 0 : 1];
        for (int j = 0; j < thinned.size(); ++j) mean[j] += static_cast<float>(thinned.allele(h, j));
        ++(in_first ? sizes.first : sizes.second);
    }
    for (float& x : mu[0]) x /= static_cast<float>(sizes.first);
    for (float& x : mu[1]) x /= static_cast<float>(sizes.second);
    return sizes;
}
