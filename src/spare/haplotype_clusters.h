#pragma once

#include <iosfwd>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "objects/chaplotype.h"
#include "utils/random_source.h"

/// Other ways of seeding, filling and describing clusters of haplotypes. A locus_span is `n_loci` loci from
/// `first_locus` on; both must be multiples of 8.
namespace spare {

/// Cluster number to haplotypes.
using cluster_map = std::map<int, std::vector<int>>;

struct locus_span {
    int first_locus;
    int n_loci;
};

/// Draws `n` numbers below `max`; duplicates count once.
std::set<int> sampleIndex(int n, int max, random_source& random);
/// The elements of `s` in order.
std::vector<int> set2vec(const std::set<int>& s);

/// `K` seeds that are far apart: each is the one of 100 random members that is farthest from the seeds before
/// it.
std::vector<int> kplusplus(const std::vector<chaplotype>& H, locus_span span, int K,
                           const std::vector<int>& members, random_source& random);

/// The alleles of a haplotype as 0.0 and 1.0.
std::vector<float> hap2float(const chaplotype& h, locus_span span);
/// Frequency of allele 1 at each locus, among these haplotypes.
std::vector<float> allele_frequencies(const std::vector<chaplotype>& H, const std::vector<int>& members,
                                      locus_span span);
/// Squared distance of a haplotype to a mean, which has one value per locus.
float squared_distance(const chaplotype& h, const std::vector<float>& mean, locus_span span);

/// Fills clusters of fewer than `n` entries with haplotypes of other clusters by take_closest, with the
/// distance to the mean of the cluster. `assign` is the cluster number of each haplotype.
void top_up_closest(const std::vector<chaplotype>& H, locus_span span, const std::vector<int>& assign, int n,
                    cluster_map& clusters);

/// Prints number and sizes of the clusters; `n_haplotypes` is the number of all haplotypes.
void summariseKmeans(const cluster_map& clusters, int n_haplotypes, std::ostream& out);

}  // namespace spare
