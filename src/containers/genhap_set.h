#pragma once

#include <vector>

#include "containers/snp_set.h"
#include "objects/chaplotype.h"
#include "objects/genotype_graph.h"

/// The state of the chain: the variants of the study, the graph of each individual, and all current
/// haplotypes. Individual i has graph i and the haplotypes 2i and 2i + 1. The haplotypes of the panel follow
/// those of all individuals and never change.
class genhap_set {
  public:
    genhap_set() = default;
    genhap_set(genhap_set&&) = default;
    genhap_set& operator=(genhap_set&&) = default;
    /// Gives each individual two haplotypes of zeros over the variants, then appends those of the panel.
    genhap_set(snp_set variants, std::vector<genotype_graph> graphs, std::vector<chaplotype> panel = {});

    int n_individuals() const { return static_cast<int>(vecG.size()); }
    int n_haplotypes() const { return static_cast<int>(vecH.size()); }
    /// Distance from the first variant to the last one in bp. There must be at least one variant.
    int span() const { return snps.snp_list.back().bp - snps.snp_list.front().bp; }
    /// Copies the first haplotype of an individual over its second one where it is haploid. Called whenever
    /// they were sampled: known genotypes there are homozygous, but missing ones may differ.
    void equalise_haploid(int ind);
    /// Prints the total size of the graphs.
    void summarise() const;

    snp_set snps;
    std::vector<genotype_graph> vecG;
    std::vector<chaplotype> vecH;
    /// Who has one copy of which variant, by individual; empty if nobody has. Both haplotypes are equal
    /// there.
    std::vector<chaplotype> haploid;
};

/// Indexes of the two haplotypes of individual `ind`.
inline haplotype_indexes haplotypes_of(int ind) {
    return {2 * ind, 2 * ind + 1};
}
