#pragma once

#include <array>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "objects/chaplotype.h"
#include "utils/fixed_list.h"
#include "utils/random_source.h"

constexpr int MAX_SEGMENT_PAIRS = 10;  // candidate pairs of a segment when it is built
constexpr int MAX_SEGMENT_HAPS = 8;    // candidate haplotypes of a segment, built or merged

/// A run of whole segments and the loci they hold; all bounds inclusive.
struct segment_range {
    int first_locus, last_locus, first_segment, last_segment;

    bool operator==(const segment_range&) const = default;
};

/// Indexes of the two haplotypes of an individual in a list of haplotypes.
using haplotype_indexes = std::array<int, 2>;

/// All haplotype pairs that are consistent with one individual's genotypes, in a size linear in the number of
/// variants.
///
/// The loci are cut into consecutive segments. Each segment lists the few candidate haplotypes that are
/// consistent with the genotypes. Between segments there are groups of transitions; each transition moves
/// both chromosomes at once:
///
///     group 0      segment 0     group 1      segment 1     group 2
///     enters       candidates    left right   candidates    leaves
///        \-> 0 1 ----[0 1 2 3]---- (0 1, 3 2) --[0 1 2 3]---- 0 1 ->/
///
/// Group g is between segments g - 1 and g, so S segments have S + 1 groups. Group 0 has no segment on its
/// left and group S none on its right; the candidates there are 0 and have no meaning. A walk takes one
/// transition from each group, each `linked` to the next. The two chromosomes are interchangeable: candidate
/// pairs are unordered.
///
/// Transition t is stored in two bytes, one for each chromosome: byte 2t = right0 << 4 | left0 and
/// byte 2t + 1 = right1 << 4 | left1.
///
/// The idea of a compact graph of the haplotypes consistent with genotypes is that of Delaneau, Marchini and
/// Zagury (2012).
class genotype_graph {
  public:
    explicit genotype_graph(const std::string& name);

    // ---- construction, genotype_graph_build.cpp

    /// Fills an empty graph from the genotypes of one individual, one entry per locus (see genotype_store for
    /// the code). Always returns 0.
    int buildUnr(const chaplotype& a, const chaplotype& b, const chaplotype& m);
    /// Appends a segment with `count` candidates of equal length, one after the other.
    void pushHaps(const chaplotype& candidates, int count);
    /// Appends a transition group, two bytes per transition.
    void pushTrans(const std::vector<unsigned char>& nodes);
    /// Cuts a chromosome of `span` bp at random into windows of about `window_size` bp. Neighbouring windows
    /// share two segments.
    std::vector<segment_range> cluster(int span, int window_size, random_source& random) const;

    // ---- structure, genotype_graph.cpp

    int n_segments() const { return static_cast<int>(seg_count.size()); }
    int n_groups() const { return static_cast<int>(trans_count.size()); }
    int n_loci() const { return static_cast<int>(site_missing.size()); }

    /// Returns 1 if transition `b` can follow `a`: the right pair of `a` and the left pair of `b` are equal
    /// as unordered pairs; else 0. A transition is given by its byte position, twice its index.
    int linked(unsigned a, unsigned b) const {
        const int right0 = trans_nodes[a] >> 4, right1 = trans_nodes[a + 1] >> 4;
        const int left0 = trans_nodes[b] & 15, left1 = trans_nodes[b + 1] & 15;
        return (right0 == left0 && right1 == left1) || (right0 == left1 && right1 == left0);
    }

    /// Allele of candidate `c` at position `i` of segment `s`.
    int getA(int s, int c, int i) const { return hap_bits.get(candidate(s, c) + i); }
    /// Locus of hap_bits where candidate `c` of segment `s` starts.
    int candidate(int s, int c) const {
        return static_cast<int>(seg_offset[s] + static_cast<unsigned>(c) * seg_length[s]);
    }
    /// Widens the loci `from` to `to`, both inclusive, to whole segments. A `to` past the end is clamped.
    segment_range getClosestBoundaries(int from, int to) const;

    /// The windows between neighbouring borders, widened to whole segments: window i is from the segment that
    /// holds locus borders[i] to the one that holds borders[i + 1]. So neighbours share a segment. Borders
    /// ascend.
    std::vector<segment_range> ranges(const std::vector<int>& borders) const;

    /// Index of the transition of group `g` with the largest trans_store that can follow (maxN) or precede
    /// (maxP) the transition at byte position `t`. On ties the first one; -1 if there is none.
    int maxN(int g, int t) const;
    int maxP(int g, int t) const;

    /// Adds trans_prob, normalised within each group, to trans_store.
    void store();
    /// Normalises trans_store within each group.
    void normalize();

    /// Writes the graph in a readable form, a line for each segment and transition.
    void print_state(std::ostream& out) const;

    // ---- walks, genotype_graph_walk.cpp

    /// Samples a walk with trans_prob as weights (all equal if `uniform`) and writes its two haplotypes into
    /// haps[indexes[0]] and haps[indexes[1]]. Throws myException if the weights of a group underflow or are
    /// NaN.
    void sample(std::vector<chaplotype>& haps, const haplotype_indexes& indexes, bool uniform,
                random_source& random) const;
    /// Number of draws that sample takes, if it is the same for all walks, else -1. It depends on the walk if
    /// some segment has candidate pairs of two equal and of two different candidates: a segment without
    /// heterozygous loci, but with missing genotypes.
    int n_draws_of_sample() const;
    /// Finds the best walk over trans_store (Viterbi 1967): the position of its transition in each group.
    std::vector<int> best_path() const;
    /// Writes the haplotypes of a walk; path[g] is the position of its transition within group g. Where both
    /// chromosomes come from the same candidate, a random draw decides which one takes which step.
    void buildGuesses(std::vector<chaplotype>& haps, const haplotype_indexes& indexes,
                      const std::vector<int>& path, random_source& random) const;
    /// Flags further transitions as kept (`kept` is indexed by transition), so that each kept one is linked
    /// to a kept one on both sides. Returns the number of flags set. One sweep may leave dead ends, so
    /// callers repeat it until it returns 0.
    unsigned int consolide(std::vector<bool>& kept) const;

    // ---- pruning, genotype_graph_prune.cpp

    /// Shrinks the graph to the transitions that hold `threshold` of the accumulated probability of each
    /// group, and merges segments with few transitions between them. Resets all probabilities to 0.
    void pruneAndMerge(double threshold);
    /// Sorts each group by descending trans_store.
    void sort();

    std::string name;                        // the individual's identifier
    std::vector<unsigned char> trans_nodes;  // two bytes per transition
    std::vector<float> trans_prob;           // probability of the current iteration
    std::vector<float> trans_store;          // accumulated probability
    std::vector<unsigned int> trans_offset;  // first transition of each group
    std::vector<unsigned int> trans_count;   // transitions of each group
    chaplotype hap_bits;                     // all candidates of all segments, one after the other
    std::vector<unsigned int> seg_offset;    // locus of hap_bits where a segment's first candidate starts
    std::vector<unsigned int> seg_count;     // candidates of each segment
    std::vector<unsigned int> seg_length;    // loci of each segment
    chaplotype site_ambiguous;               // set where candidates differ: heterozygous or missing
    chaplotype site_missing;                 // set where the genotype is missing

  private:
    template <class Linked>
    int best_linked(int g, Linked is_linked) const;
    double weigh_group(int g, int neighbour, bool uniform, bool forward, std::vector<double>& w) const;
    void check_weights(const std::vector<double>& w, double sum, int g, bool forward) const;
    unsigned int keep_links(std::vector<bool>& kept, int g, bool forward) const;
    std::vector<bool> select_transitions(double threshold) const;
};

/// Numbers of two candidates of one segment.
using candidate_pair = std::array<int, 2>;

/// Candidate pairs of a segment. One more locus can turn each pair into four before the segment is found to
/// have too many.
using pair_list = fixed_list<candidate_pair, 4 * MAX_SEGMENT_PAIRS>;

/// One chromosome's step from a left to a right candidate: half a transition.
constexpr unsigned char step_byte(int left, int right) {
    return static_cast<unsigned char>(right << 4 | left);
}

/// All transitions from the candidate pairs `left` to the pairs `right`, two bytes each. Where both pairs
/// have two different members, both ways of joining them are listed.
std::vector<unsigned char> all_transitions(const pair_list& left, const pair_list& right);

/// Compares (trans_store, index) pairs for descending trans_store; ignores the index.
bool compTransition(std::pair<float, int> a, std::pair<float, int> b);
