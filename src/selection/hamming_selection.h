#pragma once

#include <algorithm>
#include <vector>

#include "objects/chaplotype.h"
#include "objects/genotype_graph.h"
#include "selection/closest_heap.h"
#include "selection/haplotype_tiles.h"
#include "utils/random_source.h"

/// One byte per haplotype: 1 if it is marked, else 0. Bytes are faster to set and to list than bits.
using haplotype_mask = std::vector<unsigned char>;

/// Selects the K haplotypes closest by Hamming distance to either haplotype of an individual, among those of
/// other individuals and of the panel, over a range of loci (whole bytes, see chaplotype::hamming). A panel
/// haplotype may be selected twice, once for each target.
///
/// All distances are computed first, in one scan of the packed haplotypes. Then the haplotypes are offered in
/// order to a heap, whose limit falls as it fills.
///
/// Use one object for many selections: it keeps its memory, so that a selection allocates nothing.
class hamming_selection {
  public:
    /// Selects among `H`, of which `tiles` is a snapshot. The first 2 * n_individuals haplotypes are those of
    /// the individuals. `H` and `tiles` are held by reference.
    hamming_selection(const std::vector<chaplotype>& H, const haplotype_tiles& tiles, int n_individuals,
                      int K);

    /// Computes the distances of all haplotypes to those of individual `ind` over the loci of the range.
    void measure(int ind, const segment_range& range);
    /// The same, but only of the panel and of the haplotypes that `mask` marks (one entry for each of H). The
    /// individual's own haplotypes must not be marked.
    void measure(int ind, const segment_range& range, const haplotype_mask& mask);

    /// Selects among the measured haplotypes. `idx` receives them in order of descending distance. Returns
    /// the smallest distance, or the number of loci in the range minus 1 if that is smaller.
    int choose(random_source& random, std::vector<int>& idx);

  private:
    struct marked_pair {
        int first;  // haplotype
        int marks;  // bit 0: it is marked; bit 1: the next one is marked
    };

    void begin(int ind, const segment_range& range);
    void list_marked(const haplotype_mask& mask);
    void scan(const std::vector<int>& of_tiles);
    void offer_all(closest_heap& found, random_source& random) const;
    void offer_marked(closest_heap& found, random_source& random) const;
    void offer_pair(closest_heap& found, int c0, random_source& random) const;
    void offer_single(closest_heap& found, int h) const;
    void offer_reference(closest_heap& found, int h) const;
    int nearest(int h) const { return std::min(distances.d0[h], distances.d1[h]); }

    const std::vector<chaplotype>& H;
    const haplotype_tiles& tiles;
    int n_study;  // haplotypes of individuals
    int n_wanted;

    int individual = -1;
    int first_locus = 0, last_locus = -1;  // both inclusive
    bool is_masked = false;
    std::vector<marked_pair> marked;
    std::vector<int> marked_tiles;
    target_distances distances;
    std::vector<haplotype_distance> heap;
};

/// Decides which haplotypes of the pair `c0`, `c1` to take, comparing c0 with the target `h0` and c1 with
/// `h1` over the loci `first` to `last`, both inclusive. Returns 2 for both, 1 for c1 only, 0 for c0 only, -1
/// for neither. The larger the share of a haplotype's matches at loci where the other one does not match, the
/// more likely it is taken. Always draws two random numbers.
int non_overlapping_hamming_distance(const chaplotype& c0, const chaplotype& c1, const chaplotype& h0,
                                     const chaplotype& h1, int first, int last, random_source& random);
