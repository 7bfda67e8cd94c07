#pragma once

#include <string>
#include <vector>

#include "containers/genhap_set.h"
#include "containers/snp_set.h"

/// A few individuals with graphs whose transitions have random weights, the same for the same seed.
class population {
  public:
    static constexpr int N_LOCI = 40;

    explicit population(int n, unsigned seed = 1);

    /// Texts of the haplotypes of all individuals.
    std::vector<std::string> haplotypes() const;

    std::vector<std::string> genotypes;
    genhap_set set;

  private:
    snp_set snps;
};
