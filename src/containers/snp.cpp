#include "containers/snp.h"

#include <utility>

snp::snp(int position, std::string first, std::string second)
    : id(std::to_string(position)), a0(std::move(first)), a1(std::move(second)), bp(position) {}

int snp::strand(const std::string& x, const std::string& y) const {
    const bool two_alleles = a0 != a1;
    const bool two_offered = x != y;
    // If one side has a single allele, that allele alone decides.
    if (two_alleles && two_offered) {
        if (a0 == x && a1 == y) return 0;
        return a1 == x && a0 == y ? 1 : -1;
    }
    if (two_alleles) {
        if (x == a0) return 0;
        return x == a1 ? 1 : -1;
    }
    if (a0 == x) return 0;
    return two_offered && a0 == y ? 1 : -1;
}

void snp::flip() {
    std::swap(a0, a1);
    is_turned = !is_turned;
}

void snp::fill() {
    if (a1.empty()) a1 = a0;
}
