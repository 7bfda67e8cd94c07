#include "study_laws.h"

#include "support.h"

namespace fuzz {

namespace {

/// Bits behind the last locus are 0: distances count whole bytes.
bool ends_in_zeros(const chaplotype& bits) {
    return bits.data.size() == (bits.n + 7) / 8 && (bits.n % 8 == 0 || bits.data.back() >> (bits.n % 8) == 0);
}

}  // namespace

void check_study(const genotype_reader& reader) {
    const std::size_t n_individuals = reader.ind_ids.size();
    FUZZ_LAW(reader.ind_index.size() == n_individuals);
    for (int v = 1; v < reader.snps->size(); ++v)
        FUZZ_LAW(reader.snps->getByIndex(v - 1)->bp <= reader.snps->getByIndex(v)->bp);
    for (const auto* bits : {&reader.allele_a, &reader.allele_b, &reader.missing}) {
        FUZZ_LAW(bits->size() == n_individuals);
        for (const chaplotype& row : *bits) FUZZ_LAW(row.size() == reader.snps->size() && ends_in_zeros(row));
    }
    for (std::size_t i = 0; i < n_individuals; ++i)
        for (std::size_t byte = 0; byte < reader.missing[i].data.size(); ++byte) {
            const unsigned a = reader.allele_a[i].data[byte], b = reader.allele_b[i].data[byte];
            FUZZ_LAW((a & ~b) == 0);
            FUZZ_LAW((reader.missing[i].data[byte] & (a | b)) == 0);
        }
}

}  // namespace fuzz
