#include "support/haplotype_text.h"

#include <algorithm>
#include <stdexcept>

namespace support {

std::vector<bool> bits(const std::string& alleles) {
    std::vector<bool> result;
    for (const char c : alleles)
        if (c == '0' || c == '1')
            result.push_back(c == '1');
        else if (c != ' ')
            throw std::runtime_error("no allele: " + alleles);
    return result;
}

chaplotype haplotype(const std::string& alleles) {
    return chaplotype(bits(alleles));
}

std::vector<chaplotype> haplotypes(const std::vector<std::string>& alleles) {
    std::vector<chaplotype> result;
    for (const std::string& text : alleles) result.push_back(haplotype(text));
    return result;
}

genotypes genotypes_from(const std::string& text) {
    genotypes g;
    for (const char c : text) {
        if (c == ' ') continue;
        if (std::string("012.").find(c) == std::string::npos)
            throw std::runtime_error("no genotype: " + text);
        g.a.push_back(c == '2');
        g.b.push_back(c == '1' || c == '2');
        g.m.push_back(c == '.');
    }
    return g;
}

haplotype_pair unordered(const std::string& h0, const std::string& h1) {
    return {std::min(h0, h1), std::max(h0, h1)};
}

bool fits(const std::string& genotype_text, const haplotype_pair& pair) {
    std::string text = genotype_text;
    std::erase(text, ' ');
    if (text.size() != pair.first.size() || text.size() != pair.second.size()) return false;
    for (std::size_t l = 0; l < text.size(); ++l) {
        const int copies = (pair.first[l] - '0') + (pair.second[l] - '0');
        if (text[l] != '.' && text[l] - '0' != copies) return false;
    }
    return true;
}

std::string random_alleles(int n_loci, std::mt19937& random) {
    std::string text;
    for (int l = 0; l < n_loci; ++l) text += random() % 2 == 0 ? '0' : '1';
    return text;
}

std::string random_genotypes(int n_loci, int percent_het, int percent_missing, std::mt19937& random) {
    std::string text;
    for (int l = 0; l < n_loci; ++l) {
        const int draw = static_cast<int>(random() % 100);
        if (draw < percent_het)
            text += '1';
        else if (draw < percent_het + percent_missing)
            text += '.';
        else
            text += random() % 2 == 0 ? '0' : '2';
    }
    return text;
}

}  // namespace support
