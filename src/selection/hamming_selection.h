#pragma once

#include <algorithm>
#include <vector>

#include "objects/chaplotype.h"
#include "objects/genotype_graph.h"
#include "selection/closest_heap.h"
#include "selection/haplotype_tiles.h"
#include "utils/random_source.h"

/// One entry a haplotype: 1 where it is marked, else 0. Whole bytes are quick to set and to list.
using haplotype_mask = std::vector<unsigned char>;

/// Selects the K haplotypes closest by Hamming distance to either haplotype of an individual, among those of
/// other individuals and of the panel, over a range of loci (whole bytes, see chaplotype::hamming). A panel
/// haplotype may be selected twice, once for each target.
///
/// All distances are computed first, in one stream over the packed haplotypes. What follows offers the
/// haplotypes in order, against a limit that falls as the heap of the best fills.
///
/// It is kept from selection to selection, so that a selection allocates nothing.
class hamming_selection {
  public:
    /// Selects among `H`, of which `tiles` is a snapshot. The first 2 * n_individuals haplotypes are those of
    /// the individuals. All is borrowed.
    hamming_selection(const std::vector<chaplotype>& H, const haplotype_tiles& tiles, int n_individuals,
                      int K);

    /// Computes the distances of all haplotypes to those of individual `ind` over the loci of the range.
    void measure(int ind, const segment_range& range);
    /// Computes those of the panel and of the haplotypes that `mask` (one entry for each of H) marks. The
    /// individual's own pair must not be marked.
    void measure(int ind, const segment_range& range, const haplotype_mask& mask);

    /// Selects among what was measured. `idx` receives the haplotypes in order of falling distance. Returns
    /// the smallest distance, or the loci of the range less one if that is smaller.
    int choose(random_source& random, std::vector<int>& idx);

  private:
    struct marked_pair {
        int first;  // haplotype
        int marks;  // bit 0 if it is marked, bit 1 if the one behind it is
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

/// Decides for a pair `c0`, `c1` close to the two haplotypes `h0`, `h1` of an individual, one to each, which
/// of the two to take: 2 both, 1 only c1, 0 only c0, -1 neither. The more of a haplotype's matches are at
/// loci that its partner doesn't match, the likelier it is taken. Always draws two random numbers.
int non_overlapping_hamming_distance(const chaplotype& c0, const chaplotype& c1, const chaplotype& h0,
                                     const chaplotype& h1, int first, int last, random_source& random);
