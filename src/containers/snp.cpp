#include "containers/snp.h"

#include <utility>

#include "utils/sutils.h"

snp::snp(int position, std::string first, std::string second)
    : id(sutils::int2str(position)),
      a0(std::move(first)),
      a1(std::move(second)),
      cm(-1.0),
      bp(position),
      idx(-1),
      in_ref(false) {}

snp::snp(const snp* other)
    : id(other->id), a0(other->a0), a1(other->a1), cm(other->cm), bp(other->bp), idx(-1), in_ref(false) {}

std::string snp::get(bool second) const {
    return second ? a1 : a0;
}

int snp::put(const std::string& allele) {
    if (a0.empty()) a0 = allele;
    if (allele == a0) return 0;
    if (a1.empty()) a1 = allele;
    return allele == a1 ? 1 : -1;
}

int snp::strand(const std::string& x, const std::string& y) const {
    const bool two_alleles = a0 != a1;
    const bool two_offered = x != y;
    // One allele that is known on both sides decides, where a side names one allele only.
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
}

void snp::fill() {
    if (a1.empty()) a1 = a0;
}

bool snp::isSNP() const {
    return a0.size() == 1 && a1.size() == 1 && a0 != a1;
}
