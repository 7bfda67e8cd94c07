#pragma once

#include <string>
#include <vector>

#include "containers/genhap_set.h"

namespace support {

/// A few individuals with graphs whose transitions have random weights; the same seed gives the same weights.
struct population {
    static constexpr int N_LOCI = 40;

    explicit population(int n, unsigned seed = 1);

    /// Texts of the haplotypes of all individuals.
    std::vector<std::string> haplotypes() const;
    /// Everything that a stage may change, as text: graphs and haplotypes.
    std::string state() const;

    std::vector<std::string> genotypes;
    genhap_set set;
};

}  // namespace support
