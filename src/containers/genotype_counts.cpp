#include "containers/genotype_counts.h"

#include <bit>
#include <cstdint>

namespace {

/// Adds 1 to the count of each locus whose bit is set. Bit 0 belongs to locus `first`.
void count_bits(std::uint64_t bits, int first, std::vector<int>& counts) {
    for (; bits != 0; bits &= bits - 1) ++counts[first + std::countr_zero(bits)];
}

}  // namespace

genotype_counts count_genotypes(const genotype_store& store) {
    const std::size_t n_ind = store.ind_ids.size();
    const int n_snp = store.snps.size();
    genotype_counts n{std::vector<int>(n_ind), std::vector<int>(n_snp), std::vector<int>(n_snp),
                      std::vector<int>(n_snp)};
    for (std::size_t i = 0; i < n_ind; ++i)
        for (int first = 0; first < n_snp; first += BLOCK_VARIANTS) {
            const std::uint64_t missing = store.missing[i].get64(first);
            n.ind_missing[i] += std::popcount(missing);
            count_bits(missing, first, n.snp_missing);
            // Both alleles of a missing genotype are stored as a0.
            for (const auto* alleles : {&store.allele_a, &store.allele_b})
                count_bits((*alleles)[i].get64(first), first, n.count_a1);
        }
    for (int v = 0; v < n_snp; ++v)
        n.count_a0[v] = 2 * (static_cast<int>(n_ind) - n.snp_missing[v]) - n.count_a1[v];
    return n;
}
