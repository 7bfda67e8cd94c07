#pragma once

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "objects/chaplotype.h"
#include "objects/genotype_graph.h"
#include "selection/closest_heap.h"
#include "selection/falling_limit.h"
#include "selection/haplotype_tiles.h"
#include "utils/random_source.h"

/// One byte per haplotype: 1 if it is marked, else 0. Bytes are faster to set and to list than bits.
using haplotype_mask = std::vector<unsigned char>;

/// The two haplotypes of another individual that may be near enough to be selected.
struct pair_candidate {
    int first;                    // the first haplotype; the second one is first + 1
    std::array<int, 2> distance;  // to the nearer target; DISTANCE_BEYOND_LIMIT if it is not offered
    int limit;                    // at least that of the heap when the pair is offered
    /// Whether, if both are near enough, draws decide which of them are taken.
    bool needs_draws = false;
    std::array<double, 2> chance{};               // of each to be taken by a draw
    std::array<bool, 2> is_taken = {true, true};  // what the draws decided
    /// For each, the number of haplotypes offered before that need no draws and are at most as far.
    std::array<int, 2> n_nearer{};
    /// The distance of the haplotype that the list had instead of this pair; DISTANCE_BEYOND_LIMIT if none.
    int replaced = DISTANCE_BEYOND_LIMIT;
};

/// A selection in progress: the candidates for one individual in one range of loci, in ascending order.
struct candidate_list {
    int individual = -1;
    segment_range range{};
    std::vector<pair_candidate> pairs;
    std::vector<int> to_draw;               // of those, the ones that may need draws
    std::vector<pair_candidate> added;      // each stands for what `pairs` has for the same two haplotypes
    std::array<std::vector<int>, 2> panel;  // distances of the panel's haplotypes to each target
};

/// Selects the K haplotypes closest by Hamming distance to either haplotype of an individual, among those of
/// other individuals and of the panel, over a range of loci (whole bytes, see chaplotype::hamming). A panel
/// haplotype may be selected twice, once for each target.
///
/// Haplotypes are offered in order to a heap, whose limit falls as it fills. If both haplotypes of a pair are
/// below the limit and closest to different targets, two random draws decide which of them to take. So the
/// number of draws depends on the limit, and the draws of selections follow one another. To keep that part
/// short, a selection has three steps, of which only the second one draws:
///
/// 1. measure computes all distances in one scan of the packed haplotypes, and lists the pairs that can be
///    below the limit whatever the draws will be;
/// 2. draw looks at the listed pairs that may need draws: a haplotype is below the limit if fewer than K of
///    those offered before it are at most as far. Most of these are known from step 1;
/// 3. choose offers the list to the heap.
///
/// Use one object for many selections: it keeps its memory, so that a selection allocates nothing.
class hamming_selection {
  public:
    /// Selects among `H`, of which `tiles` is a snapshot. The first 2 * n_individuals haplotypes are those of
    /// the individuals. `H` and `tiles` are held by reference.
    hamming_selection(const std::vector<chaplotype>& H, const haplotype_tiles& tiles, int n_individuals,
                      int K);

    /// Lists the candidates among all haplotypes for individual `ind` over the loci of the range.
    void measure(int ind, const segment_range& range, candidate_list& out);
    /// The same, but only the panel and the haplotypes that `mask` marks (one entry for each of H; those of
    /// the individual do not count). `n_more` is the largest number of haplotypes that add() will add.
    void measure(int ind, const segment_range& range, const haplotype_mask& mask, int n_more,
                 candidate_list& out);
    /// Adds haplotypes that were not marked before and are marked in `mask` now. May change the order of
    /// `more`.
    void add(std::vector<int>& more, const haplotype_mask& mask, candidate_list& list);

    /// Takes the draws of a selection.
    void draw(random_source& random, candidate_list& list);

    /// Selects among the candidates. `idx` receives them in order of descending distance. Returns the
    /// smallest distance, or the number of loci in the range minus 1 if that is smaller.
    int choose(const candidate_list& list, std::vector<int>& idx);

  private:
    void begin(int ind, const segment_range& range, candidate_list& out);
    void scan(const std::vector<int>& of_tiles, const candidate_list& list);
    void list_tiles(const haplotype_mask& mask);
    void list_pairs(const haplotype_mask* mask, int n_more, candidate_list& list);
    pair_candidate candidate(int first, const haplotype_mask* mask, int limit,
                             const candidate_list& list) const;
    pair_candidate added_pair(int first, const haplotype_mask& mask, std::span<const pair_candidate> before,
                              const candidate_list& list) const;
    void draw_pair(pair_candidate& pair, random_source& random);
    bool is_near(const pair_candidate& pair, int i) const;
    bool have_one_target(int first) const;
    std::array<double, 2> chances(int first, const candidate_list& list) const;
    void offer_pair(const pair_candidate& pair, closest_heap& found) const;
    int nearest(int h) const { return std::min(distances.d0[h], distances.d1[h]); }

    const std::vector<chaplotype>& H;
    const haplotype_tiles& tiles;
    int n_study;  // haplotypes of individuals
    int n_wanted;

    std::vector<int> marked_tiles;
    target_distances distances;
    falling_limit bound;
    std::vector<int> offered, withdrawn;  // distances, in addition to those that n_nearer counts
    std::vector<haplotype_distance> heap;
};

/// Chances of the haplotypes of a pair, `c0` and `c1`, to be taken, comparing c0 with the target `h0` and c1
/// with `h1` over the loci `first` to `last`, both inclusive. The larger the share of a haplotype's matches
/// at loci where the other one does not match, the more likely it is taken. NaN, which no draw is below, if
/// it matches nowhere.
std::array<double, 2> chances_of_pair(const chaplotype& c0, const chaplotype& c1, const chaplotype& h0,
                                      const chaplotype& h1, int first, int last);
