#include "objects/chaplotype.h"

#include "objects/bit_kernels.h"
#include "utils/assertion.h"

namespace {

std::size_t bytes_for(unsigned int n_loci) {
    return (static_cast<std::size_t>(n_loci) + 7) / 8;
}

}  // namespace

chaplotype::chaplotype(unsigned int n_loci) : data(bytes_for(n_loci)), n(n_loci) {}

chaplotype::chaplotype(const std::vector<bool>& alleles) {
    push_back(alleles);
}

void chaplotype::clear() {
    n = 0;
    std::vector<unsigned char>().swap(data);
}

void chaplotype::push_back(const std::vector<bool>& alleles) {
    int l = size();
    n += static_cast<unsigned int>(alleles.size());
    data.resize(bytes_for(n));
    for (const bool allele : alleles) set(l++, allele);
}

void chaplotype::push_back(std::uint64_t alleles, int count) {
    TOLVANE_ASSERT((n & 7) == 0, "(n & 7) == 0");
    std::size_t byte = data.size();
    n += static_cast<unsigned int>(count);
    data.resize(bytes_for(n));
    for (; byte < data.size(); ++byte, alleles >>= 8) data[byte] = static_cast<unsigned char>(alleles);
}

int chaplotype::hamming(const chaplotype& o) const {
    return bit_kernels::kernels().distance(data.data(), o.data.data(), static_cast<int>(data.size()));
}

int chaplotype::hamming(const chaplotype& o, int first, int last) const {
    const int start = first >> 3, n_bytes = (last >> 3) - start + 1;
    if (n_bytes <= 0) return 0;
    return bit_kernels::kernels().distance(data.data() + start, o.data.data() + start, n_bytes);
}

std::string chaplotype::toString() const {
    std::string text;
    for (int l = 0; l < size(); ++l) text += get(l) ? '1' : '0';
    return text;
}
