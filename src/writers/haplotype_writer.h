#pragma once

#include <string>

#include "containers/genhap_set.h"

/// Writes the haplotypes of a run as a HAPS/SAMPLE pair.
class haplotype_writer {
  public:
    explicit haplotype_writer(const genhap_set& g) : GH(g) {}

    /// Writes `sample`: two header lines, then "<name> <name> 0" for each individual; and `haps`: for each
    /// variant its identifier twice, position and alleles, then two digits an individual, 0 for a0.
    void writeHaplotypeHap(const std::string& haps, const std::string& sample) const;

  private:
    void writeSample(const std::string& sample) const;
    void writeHaps(const std::string& haps) const;

    const genhap_set& GH;
};
