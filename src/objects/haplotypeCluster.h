#pragma once

#include <map>
#include <set>
#include <utility>
#include <vector>

#include "objects/chaplotype.h"

class genhap_set;

/// A tree of clusters over all haplotypes in one window of variants, by repeated splitting with two means
/// (MacQueen 1967), so that a selection scans the clusters of an individual's own two haplotypes and not all.
///
///                 all haplotypes
///                /              \                 Splitting cluster c at level L leaves cluster c and
///              0                  1               cluster c + 2^L: numbers are unique without a counter.
///            /   \              /   \             Level 1 has no split of its own.
///          0       4          1       5
///
/// Distances are thinned: one bit of each byte is compared, another one for each split. The window counts in
/// whole bytes: `span` loci from `start8` on.
class haplotypeCluster {
  public:
    explicit haplotypeCluster(const genhap_set* GH);

    // ---- conditioning sets, haplotypeCluster.cpp

    /// Builds the tree for the variants `a` to `b`, `b` exclusive, with clusters of about `c1` haplotypes (at
    /// least `K`) and no half of a split below `K`. A cluster size that reaches the number of haplotypes
    /// ends the run.
    void build(int a, int b, float c1, float c2, int K);
    /// The haplotypes to scan for an individual: those of the clusters of its two haplotypes and min_size
    /// random ones, without its own. Always 0.
    int mask(int curr_ind, haplotype_mask& out) const;
    /// Fill clusters of fewer than `n` entries: with random haplotypes of other clusters (repetitions may
    /// occur), or with those that closestN picks from outside.
    int topupClusters_random(int n);
    int topupClusters_closestN(int n);
    /// Fills `af`.
    int setAF();

    // ---- the tree, haplotypeCluster_kmeans.cpp

    /// Builds the whole tree; returns the number of clusters.
    int bifurc_kmeans();
    /// Splits cluster `c` of `n` members at `level`, and its halves in turn.
    int bifurc_kmeans(unsigned int c, int n, int level);
    /// Splits cluster `c` into `c` and `c` + 2^level; returns both sizes, or (n, 0) for a branch too small
    /// or too uniform to be split.
    std::pair<int, int> kmeans(unsigned int c, int level);
    /// Closes half `m` of the last split as cluster `c`, a list of exactly cond_size entries.
    int terminateBranch(int m, int c);
    /// Takes the first `n` members of the branch into `out`, and puts the farthest from mean `m` of the later
    /// ones into the place of the farthest of those. Entries behind a shorter branch stay as they were.
    int closestN(int n, int m, std::vector<std::pair<int, float>>& out);
    /// Recomputes both means from the members assigned to `ids.first` and to others; gives both sizes.
    int updateMeans(const std::pair<unsigned int, unsigned int>& ids, std::pair<int, int>& sizes);
    /// Makes mu[0] the mean of cluster `c` over all loci of the span; returns its number of members.
    int updateMean(unsigned int c);
    /// Renews the distances in `dlook` from the means.
    int wipedlook();

    /// Writes the alleles of `h` over the span as 0.0 and 1.0.
    int hap2float(int h, std::vector<float>& v) const;
    /// Number of thinned loci at which `i` and `j` differ.
    int ham(int i, int j) const;
    /// Squared distance of haplotype `i` to mean `m`, thinned, through dlook.
    float euc(int i, int m) const;
    /// Squared distance of haplotype `i` to `mean` over all loci of the span.
    float euc(int i, const std::vector<float>& mean) const;
    /// The (`i` + 1)-th member of the branch in hand; -1 for a negative `i`.
    int getIdx(int i) const;

    /// Seeds that lie apart: each is the one of 100 random haplotypes (or `members`) that lies farthest from
    /// those before it.
    int kplusplus(int K, std::vector<int>& seeds) const;
    int kplusplus(int K, std::vector<int>& seeds, const std::vector<int>& members) const;
    /// Prints number and sizes of the clusters on standard output.
    int summariseKmeans() const;

    int start = 0;      // first variant of the window
    int stop = 0;       // variant after the window
    int ncond = 0;      // wanted number of haplotypes in a cluster
    int cond_size = 0;  // the same
    int nhap = 0;       // haplotypes in all
    int min_size = 0;   // smallest half that a split may leave
    const genhap_set* GH;
    int start8 = 0;  // start and stop rounded down to whole bytes, and the loci between them
    int stop8 = 0;
    int span = 0;
    int n_means = 2;
    float c1 = 0.0F;  // cluster size as given
    float c2 = 0.0F;
    int thin_offset = 0;  // bit of each byte that distances look at
    int max_iter = 20;
    std::map<int, std::vector<int>> clusters;    // cluster number to haplotypes
    std::vector<int> assign;                     // cluster number of each haplotype
    std::vector<int> branch;                     // members of the branch in hand, in ascending order
    std::vector<std::vector<float>> dlook;       // mean, then 2 * thinned locus + allele: squared difference
    std::vector<std::vector<float>> mu;          // the means, one value a thinned locus
    std::vector<std::pair<int, float>> closest;  // scratch of closestN; keeps its entries between branches
    std::vector<float> af;                       // allele frequency at each locus of the span

  private:
    int n_thinned() const { return span / 8; }
    int thinned_allele(int h, int j) const;
    void take_branch(unsigned int c);
    void make_leaf(int c);
    bool seed_means(std::pair<int, int>& seeds) const;
    std::pair<int, int> draw_pair(std::set<int>& seen, const char* promise) const;
    std::vector<float> thinned_alleles(int h) const;
    template <class Member>
    void spread_seeds(int K, int n, std::vector<int>& seeds, Member member) const;
};

/// `n` draws of numbers below `max`; those drawn twice stand once.
std::set<int> sampleIndex(int n, int max);
/// The elements of `s` in order.
std::vector<int> set2vec(const std::set<int>& s);
