#include "spare/alleles.h"

namespace spare {

int put_allele(snp& variant, const std::string& allele) {
    if (variant.a0.empty()) variant.a0 = allele;
    if (allele == variant.a0) return 0;
    if (variant.a1.empty()) variant.a1 = allele;
    return allele == variant.a1 ? 1 : -1;
}

bool isSNP(const snp& variant) {
    return variant.a0.size() == 1 && variant.a1.size() == 1 && variant.a0 != variant.a1;
}

}  // namespace spare
