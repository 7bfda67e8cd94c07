#include "modules/population.h"

#include <random>

#include "support/graph_text.h"
#include "support/haplotype_text.h"

population::population(int n, unsigned seed) {
    std::mt19937 random(seed);
    for (int l = 0; l < N_LOCI; ++l) snps.put(new snp(100 * l, "A", "G"));
    std::vector<genotype_graph*> graphs;
    for (int i = 0; i < n; ++i) {
        genotypes.push_back(support::random_genotypes(N_LOCI, 30, 5, random));
        graphs.push_back(new genotype_graph(support::built_from(genotypes[i], "I" + std::to_string(i))));
        for (auto* weights : {&graphs[i]->trans_prob, &graphs[i]->trans_store})
            for (float& weight : *weights) weight = static_cast<float>(random() % 1000 + 1) / 1024.0F;
    }
    set.initialise(graphs, &snps);
}

std::vector<std::string> population::haplotypes() const {
    std::vector<std::string> texts;
    for (const chaplotype& h : set.vecH) texts.push_back(h.toString());
    return texts;
}
