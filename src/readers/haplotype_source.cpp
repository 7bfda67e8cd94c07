#include "readers/haplotype_source.h"

std::vector<chaplotype> read_haplotypes(haplotype_source& panel) {
    std::vector<chaplotype> haplotypes(panel.n_haplotypes(),
                                       chaplotype(static_cast<unsigned>(panel.n_loci())));
    haplotype_block block;
    while (panel.read(block))
        for (std::size_t h = 0; h < haplotypes.size(); ++h)
            for (std::size_t j = 0; j < block.variants.size(); ++j) {
                const bool allele = (block.words[h] >> j & 1) != 0;
                haplotypes[h].set(block.variants[j].idx, allele != block.variants[j].is_turned);
            }
    return haplotypes;
}

std::vector<const snp*> absent_variants(const snp_set& study) {
    std::vector<const snp*> absent;
    for (const snp& variant : study.snp_list)
        if (!variant.in_ref) absent.push_back(&variant);
    return absent;
}
