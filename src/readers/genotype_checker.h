#pragma once

#include "readers/genotype_reader.h"

/// Checks the genotypes once they are read: reports missing data, refuses data that is missing altogether,
/// repairs monomorphic variants, and leaves the counts in two side files named after the log.
class genotype_checker {
  public:
    explicit genotype_checker(genotype_reader& g) : G(g) {}

    /// checkMissingAndMAF(false).
    void checkGenotypeData();
    /// Individuals or variants without any genotype end the run, unless `tolerate_empty`, which only
    /// reports them. At a variant where one allele is seen, that allele becomes a0, every genotype
    /// homozygous for it, and missing ones are filled in. Reference haplotypes keep their bits at a variant
    /// that is turned so.
    void checkMissingAndMAF(bool tolerate_empty);

  private:
    struct counts;

    counts countGenotypes() const;
    void reportMissing(const counts& n, bool tolerate_empty) const;
    void repairMonomorphic(const counts& n);
    void writeSideFiles(const counts& n) const;

    genotype_reader& G;
};
