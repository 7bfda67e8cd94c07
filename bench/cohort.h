#pragma once

#include <memory>
#include <string>
#include <vector>

#include "containers/genhap_set.h"
#include "tools/simulation.h"

namespace bench {

/// The genotypes of one individual, one allele per locus (see genotype_store).
struct genotype_code {
    chaplotype a, b, missing;
};

/// A generated cohort: graphs of the observed genotypes, and true haplotypes.
struct cohort {
    cohort(int individuals, double megabases, double density);

    /// The first and the last variant of the 2 Mb window in the middle of the region, both inclusive.
    int first_locus() const;
    int last_locus() const;

    simulation::Cohort simulated;
    std::vector<genotype_code> observed;  // one per individual
    genhap_set haplotypes;
};

/// A temporary folder that is deleted when the program ends.
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
