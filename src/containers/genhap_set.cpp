#include "containers/genhap_set.h"

#include <cstdint>
#include <iterator>

#include "readers/genotype_reader.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

genhap_set::~genhap_set() {
    for (const genotype_graph* graph : vecG) delete graph;
}

void genhap_set::initialise(const std::vector<genotype_graph*>& graphs, snp_set* S) {
    time_hamming = 0;
    vecG = graphs;
    snps = S;
    vecH.assign(2 * graphs.size(), chaplotype(static_cast<unsigned>(S->size())));
}

void genhap_set::initialise(genotype_reader& G) {
    vecH.insert(vecH.end(), std::make_move_iterator(G.ref_haps.begin()),
                std::make_move_iterator(G.ref_haps.end()));
    G.ref_haps.clear();
}

void genhap_set::summarise() const {
    std::uint64_t transitions = 0, segments = 0;
    for (const genotype_graph* graph : vecG) {
        for (const unsigned count : graph->trans_count) transitions += count;
        segments += graph->seg_count.size();
    }
    if (segments == 0) return;
    const std::uint64_t per_segment = static_cast<std::uint64_t>(snps->size()) * vecG.size() / segments;
    LOG.println("  * " + std::to_string(vecG.size()) + " graphs / " + std::to_string(segments) +
                " segments / ~" + std::to_string(per_segment) + " SNPs per segment / " +
                std::to_string(transitions) + " transitions");
}
