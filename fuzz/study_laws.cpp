#include "study_laws.h"

#include <algorithm>
#include <tuple>

#include "support.h"

namespace fuzz {

namespace {

/// Bits past the last locus are 0, since distances compare whole bytes.
bool ends_in_zeros(const chaplotype& bits) {
    return bits.data.size() == (bits.n + 7) / 8 && (bits.n % 8 == 0 || bits.data.back() >> (bits.n % 8) == 0);
}

auto fields_of(const snp& variant) {
    return std::tie(variant.chromosome, variant.id, variant.a0, variant.a1, variant.bp, variant.idx);
}

auto genotypes_of(const genotype_store& study) {
    return std::tie(study.ind_ids, study.allele_a, study.allele_b, study.missing);
}

}  // namespace

filter_reader small_filter() {
    filter_reader filter;
    filter.initialise(0, 1000000000);
    filter.ind_exclude["out"] = filter.snp_exclude[7] = true;
    return filter;
}

bool comparable_study::operator==(const comparable_study& other) const {
    return genotypes_of(*this) == genotypes_of(other) &&
           std::ranges::equal(snps.snp_list, other.snps.snp_list, {}, fields_of, fields_of);
}

void check_study(const genotype_store& study) {
    const std::size_t n_individuals = study.ind_ids.size();
    for (int v = 1; v < study.snps.size(); ++v)
        FUZZ_LAW(study.snps.getByIndex(v - 1)->bp <= study.snps.getByIndex(v)->bp);
    for (const auto* bits : {&study.allele_a, &study.allele_b, &study.missing}) {
        FUZZ_LAW(bits->size() == n_individuals);
        for (const chaplotype& row : *bits) FUZZ_LAW(row.size() == study.snps.size() && ends_in_zeros(row));
    }
    for (std::size_t i = 0; i < n_individuals; ++i)
        for (std::size_t byte = 0; byte < study.missing[i].data.size(); ++byte) {
            const unsigned a = study.allele_a[i].data[byte], b = study.allele_b[i].data[byte];
            FUZZ_LAW((a & ~b) == 0);
            FUZZ_LAW((study.missing[i].data[byte] & (a | b)) == 0);
        }
}

}  // namespace fuzz
