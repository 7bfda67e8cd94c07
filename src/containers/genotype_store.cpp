#include "containers/genotype_store.h"

#include <utility>

genotype_store::genotype_store(std::vector<std::string> individuals)
    : ind_ids(std::move(individuals)),
      allele_a(ind_ids.size()),
      allele_b(ind_ids.size()),
      missing(ind_ids.size()) {}

void genotype_store::reserve(int n) {
    snps.snp_list.reserve(n);
    for (auto* bits : {&allele_a, &allele_b, &missing})
        for (chaplotype& individual : *bits) individual.data.reserve((n + 7) / 8);
}

void genotype_store::append(genotype_block& block) {
    const int n = static_cast<int>(block.variants.size());
    for (snp& variant : block.variants) snps.put(std::move(variant));
    for (std::size_t i = 0; i < ind_ids.size(); ++i) {
        allele_a[i].push_back(block.words[i].allele_a, n);
        allele_b[i].push_back(block.words[i].allele_b, n);
        missing[i].push_back(block.words[i].missing, n);
    }
}

int genotype_store::resetSnp(int v) {
    int n_filled = 0;
    for (std::size_t i = 0; i < ind_ids.size(); ++i) {
        n_filled += missing[i][v];
        for (auto* bits : {&allele_a, &allele_b, &missing}) (*bits)[i].set(v, false);
    }
    return n_filled;
}
