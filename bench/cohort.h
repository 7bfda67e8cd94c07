#pragma once

#include <memory>
#include <string>
#include <vector>

#include "containers/genhap_set.h"
#include "tools/simulation.h"

namespace bench {

/// The genotypes of one individual, one allele a locus (see genotype_store).
struct genotype_code {
    chaplotype a, b, missing;
};

/// A generated cohort in the program's own objects: graphs of the observed genotypes, true haplotypes.
struct cohort {
    cohort(int individuals, double megabases, double density);

    /// The variants of the window of 2 Mb in the middle of the region, inclusive.
    int first_locus() const;
    int last_locus() const;

    simulation::Cohort simulated;
    std::vector<genotype_code> observed;  // one an individual
    genhap_set haplotypes;
};

/// A folder that is gone when the program ends.
class folder {
  public:
    folder();
    ~folder();
    folder(const folder&) = delete;
    folder& operator=(const folder&) = delete;
    std::string at(const std::string& name) const { return path + "/" + name; }

  private:
    std::string path;
};

}  // namespace bench
