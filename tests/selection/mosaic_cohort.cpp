#include "selection/mosaic_cohort.h"

#include <utility>

#include "support/graph_text.h"
#include "support/haplotype_text.h"

namespace mosaics {

std::vector<std::string> haplotypes(int n, int n_loci, std::mt19937& random, int n_founders,
                                    unsigned mean_stretch, double mutations) {
    std::vector<std::string> founders, alleles;
    for (int f = 0; f < n_founders; ++f) founders.push_back(support::random_alleles(n_loci, random));
    std::bernoulli_distribution is_mutated(mutations);
    for (int h = 0; h < n; ++h) {
        std::string a;
        std::size_t f = 0;
        for (int l = 0; l < n_loci; ++l) {
            if (l == 0 || random() % mean_stretch == 0) f = random() % founders.size();
            a += is_mutated(random) ? static_cast<char>('0' + random() % 2) : founders[f][l];
        }
        alleles.push_back(a);
    }
    return alleles;
}

std::vector<std::string> with_children(std::vector<std::string> alleles) {
    for (int child = 0; child < N_CHILDREN; ++child) {
        alleles[2 * child] = alleles[20 + 4 * child];
        alleles[2 * child + 1] = alleles[22 + 4 * child];
    }
    return alleles;
}

genhap_set cohort(const std::vector<std::string>& alleles, int n_individuals, double spacing) {
    const std::size_t n_loci = alleles[0].size();
    snp_set snps;
    for (std::size_t l = 0; l < n_loci; ++l) {
        snps.put(snp(1000 * static_cast<int>(l), "A", "G"));
        snps.snp_list.back().cm = 3.0 + spacing * static_cast<double>(l);
    }
    snps.indexing();
    std::vector<genotype_graph> graphs;
    for (int i = 0; i < n_individuals; ++i) {
        std::string genotypes;
        for (std::size_t l = 0; l < n_loci; ++l)
            genotypes += static_cast<char>('0' + (alleles[2 * i][l] == '1') + (alleles[2 * i + 1][l] == '1'));
        graphs.push_back(support::built_from(genotypes, "I" + std::to_string(i)));
    }
    std::vector<chaplotype> panel;
    for (std::size_t h = 2 * static_cast<std::size_t>(n_individuals); h < alleles.size(); ++h)
        panel.push_back(support::haplotype(alleles[h]));
    genhap_set set(std::move(snps), std::move(graphs), std::move(panel));
    for (std::size_t h = 0; h < alleles.size(); ++h) set.vecH[h] = support::haplotype(alleles[h]);
    return set;
}

}  // namespace mosaics
