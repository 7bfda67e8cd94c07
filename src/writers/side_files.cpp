#include "writers/side_files.h"

#include "utils/streams.h"

void write_counts(const genotype_store& store, const genotype_counts& counts, const std::string& prefix) {
    ofile individuals(prefix + ".ind.mm");
    individuals.writeText("id\tmissing\n");
    for (std::size_t i = 0; i < store.ind_ids.size(); ++i)
        individuals.writeText(store.ind_ids[i] + "\t" + std::to_string(counts.ind_missing[i]) + "\n");
    individuals.close();

    // The header has seven columns and the rows only four: the format is fixed.
    ofile variants(prefix + ".snp.mm");
    variants.writeText("id\tposition\tA\tB\tmissing\tcount_A_total\tcount_B_total\n");
    for (int v = 0; v < store.snps.size(); ++v) {
        const snp* variant = store.snps.getByIndex(v);
        variants.writeText(variant->id + "\t" + std::to_string(variant->bp) + "\t" +
                           std::to_string(counts.count_a0[v]) + "\t" + std::to_string(counts.count_a1[v]) +
                           "\n");
    }
    variants.close();
}

void write_absent_variants(const std::vector<const snp*>& absent, const std::string& prefix) {
    ofile table(prefix + ".snp.strand");
    ofile positions(prefix + ".snp.strand.exclude");
    table.writeText("pos\tid\tA\tB\n");
    for (const snp* variant : absent) {
        const std::string position = std::to_string(variant->bp);
        table.writeText(position + "\t" + variant->id + "\t" + variant->a0 + "\t" + variant->a1 + "\n");
        positions.writeText(position + "\n");
    }
    table.close();
    positions.close();
}
