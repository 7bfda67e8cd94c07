#include "objects/chaplotype.h"

#include <algorithm>
#include <bit>

#include "objects/bit_kernels.h"

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
    const unsigned in_last_byte = n & 7;
    std::size_t byte = data.size();
    n += static_cast<unsigned int>(count);
    data.resize(bytes_for(n));
    if (in_last_byte > 0) {
        data[byte - 1] = static_cast<unsigned char>(data[byte - 1] | alleles << in_last_byte);
        alleles >>= 8 - in_last_byte;
    }
    for (; byte < data.size(); ++byte, alleles >>= 8) data[byte] = static_cast<unsigned char>(alleles);
}

void chaplotype::push_back(const chaplotype& o, int first, int count) {
    for (; count > 0; first += 64, count -= 64) push_back(o.get64(first, count), std::min(count, 64));
}

int chaplotype::next(int l) const {
    for (; l < size(); l += 64)
        if (const std::uint64_t alleles = get64(l); alleles != 0) return l + std::countr_zero(alleles);
    return size();
}

int chaplotype::count(int first, int n_loci) const {
    int n_set = 0;
    for (; n_loci > 0; first += 64, n_loci -= 64) n_set += std::popcount(get64(first, n_loci));
    return n_set;
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

chaplotype selected(const chaplotype& from, const std::vector<bool>& keeps) {
    chaplotype kept;
    for (std::size_t l = 0; l < keeps.size(); ++l)
        if (keeps[l]) kept.push_back(from[static_cast<int>(l)] != 0 ? 1 : 0, 1);
    return kept;
}
