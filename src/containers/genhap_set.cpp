#include "containers/genhap_set.h"

#include <cstdint>
#include <iterator>
#include <utility>

#include "utils/lfile.h"

genhap_set::genhap_set(snp_set variants, std::vector<genotype_graph> graphs, std::vector<chaplotype> panel)
    : snps(std::move(variants)),
      vecG(std::move(graphs)),
      vecH(2 * vecG.size(), chaplotype(static_cast<unsigned>(snps.size()))) {
    vecH.insert(vecH.end(), std::make_move_iterator(panel.begin()), std::make_move_iterator(panel.end()));
}

void genhap_set::equalise_haploid(int ind) {
    if (haploid.empty()) return;
    const std::vector<unsigned char>&mask = haploid[ind].data, &from = vecH[2 * ind].data;
    std::vector<unsigned char>& to = vecH[2 * ind + 1].data;
    for (std::size_t i = 0; i < mask.size(); ++i)
        to[i] = static_cast<unsigned char>((from[i] & mask[i]) | (to[i] & ~mask[i]));
}

void genhap_set::summarise() const {
    std::uint64_t transitions = 0, segments = 0;
    for (const genotype_graph& graph : vecG) {
        for (const unsigned count : graph.trans_count) transitions += count;
        segments += graph.seg_count.size();
    }
    if (segments == 0) return;
    const std::uint64_t per_segment = static_cast<std::uint64_t>(snps.size()) * vecG.size() / segments;
    LOG.println("  * " + std::to_string(vecG.size()) + " graphs / " + std::to_string(segments) +
                " segments / ~" + std::to_string(per_segment) + " SNPs per segment / " +
                std::to_string(transitions) + " transitions");
}
