#pragma once

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "objects/chaplotype.h"

/// Haplotypes and genotypes as text, one character per locus; blanks are ignored.
namespace support {

/// "0110" as alleles.
std::vector<bool> bits(const std::string& alleles);
chaplotype haplotype(const std::string& alleles);
std::vector<chaplotype> haplotypes(const std::vector<std::string>& alleles);

/// The genotypes of one individual, coded as in genotype_store.
struct genotypes {
    std::vector<bool> a, b, m;
};
/// 0: homozygous for the first allele, 1: heterozygous, 2: homozygous for the second, '.': missing.
genotypes genotypes_from(const std::string& text);

/// An unordered pair of haplotypes as text, the smaller first.
using haplotype_pair = std::pair<std::string, std::string>;
haplotype_pair unordered(const std::string& h0, const std::string& h1);
/// Whether the pair is consistent with these genotypes.
bool fits(const std::string& genotype_text, const haplotype_pair& pair);

std::string random_alleles(int n_loci, std::mt19937& random);
/// Genotypes of which about `percent_missing` are missing and `percent_het` heterozygous.
std::string random_genotypes(int n_loci, int percent_het, int percent_missing, std::mt19937& random);

}  // namespace support
