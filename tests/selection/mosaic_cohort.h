#pragma once

#include <random>
#include <string>
#include <vector>

#include "containers/genhap_set.h"

/// Made-up cohorts for tests of matches.
namespace mosaics {

/// Mean distance of variants in cM.
constexpr double SPACING = 0.01;

/// Copies of `n_founders` random haplotypes that change founder every `mean_stretch` loci or so. One allele
/// in 1 / `mutations` is random.
std::vector<std::string> haplotypes(int n, int n_loci, std::mt19937& random, int n_founders = 10,
                                    unsigned mean_stretch = 40, double mutations = 0.0);

/// The number of children in a cohort with_children.
constexpr int N_CHILDREN = 4;
/// Makes individuals 0 to 3 children of unrelated parents: copies of whole haplotypes of individuals 10
/// to 17.
std::vector<std::string> with_children(std::vector<std::string> alleles);

/// Individuals whose haplotypes are given, two for each, and a panel. Variants are 1 kb and `spacing` cM
/// apart.
genhap_set cohort(const std::vector<std::string>& alleles, int n_individuals, double spacing = SPACING);

}  // namespace mosaics
