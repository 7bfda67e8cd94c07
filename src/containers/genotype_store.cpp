#include "containers/genotype_store.h"

#include <utility>

genotype_store::genotype_store(std::vector<std::string> individuals)
    : ind_ids(std::move(individuals)),
      allele_a(ind_ids.size()),
      allele_b(ind_ids.size()),
      missing(ind_ids.size()) {}

void genotype_store::reserve(int n) {
    snps.snp_list.reserve(n);
    for (auto* bits : planes())
        for (chaplotype& individual : *bits) individual.data.reserve((n + 7) / 8);
}

void genotype_store::append(genotype_block& block) {
    const int n = static_cast<int>(block.variants.size());
    if (!block.haploid.empty() && haploid.empty())
        haploid.assign(ind_ids.size(), chaplotype(static_cast<unsigned>(snps.size())));
    for (std::size_t i = 0; i < haploid.size(); ++i)
        haploid[i].push_back(block.haploid.empty() ? 0 : block.haploid[i], n);
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

int genotype_store::makeHaploid(int ind) {
    const int n = snps.size();
    if (haploid.empty()) haploid.assign(ind_ids.size(), chaplotype(static_cast<unsigned>(n)));
    int n_heterozygous = 0;
    for (int v = 0; v < n; ++v) {
        haploid[ind].set(v, true);
        if (allele_a[ind][v] == allele_b[ind][v]) continue;
        ++n_heterozygous;
        allele_b[ind].set(v, false);
        missing[ind].set(v, true);
    }
    return n_heterozygous;
}

void genotype_store::settleMissingHaploid() {
    constexpr int UNKNOWN = -1;
    for (std::size_t i = 0; i < haploid.size(); ++i) {
        int before = UNKNOWN;
        for (int v = 0; v < snps.size(); ++v) {
            if (!missing[i][v]) {
                before = haploid[i][v];
                continue;
            }
            int end = v;  // of the run of missing genotypes
            while (end < snps.size() && missing[i][end]) ++end;
            const int behind = end < snps.size() ? haploid[i][end] : before;
            if (before == UNKNOWN) before = behind;
            for (; v < end; ++v)
                if (before == behind) haploid[i].set(v, before == 1);
            --v;
        }
    }
}

std::vector<std::vector<chaplotype>*> genotype_store::planes() {
    return {&allele_a, &allele_b, &missing, &haploid};
}

void genotype_store::keepVariants(const std::vector<bool>& keeps) {
    for (auto* plane : planes())
        for (chaplotype& individual : *plane) individual = selected(individual, keeps);
    std::vector<snp> kept;
    for (int v = 0; v < snps.size(); ++v)
        if (keeps[v]) kept.push_back(std::move(snps.snp_list[v]));
    snps.snp_list = std::move(kept);
    snps.indexing();
}
