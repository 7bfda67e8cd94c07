#include "support/population.h"

#include <random>
#include <sstream>
#include <utility>

#include "support/graph_text.h"
#include "support/haplotype_text.h"

namespace support {

population::population(int n, unsigned seed) {
    std::mt19937 random(seed);
    snp_set snps;
    for (int l = 0; l < N_LOCI; ++l) snps.put(snp(100 * l, "A", "G"));
    std::vector<genotype_graph> graphs;
    for (int i = 0; i < n; ++i) {
        genotypes.push_back(random_genotypes(N_LOCI, 30, 5, random));
        graphs.push_back(built_from(genotypes[i], "I" + std::to_string(i)));
        for (auto* weights : {&graphs[i].trans_prob, &graphs[i].trans_store})
            for (float& weight : *weights) weight = static_cast<float>(random() % 1000 + 1) / 1024.0F;
    }
    set = genhap_set(std::move(snps), std::move(graphs));
}

std::vector<std::string> population::haplotypes() const {
    std::vector<std::string> texts;
    for (const chaplotype& h : set.vecH) texts.push_back(h.toString());
    return texts;
}

std::string population::state() const {
    std::ostringstream text;
    for (const genotype_graph& graph : set.vecG) graph.print_state(text);
    for (const std::string& h : haplotypes()) text << h << "\n";
    return text.str();
}

}  // namespace support
