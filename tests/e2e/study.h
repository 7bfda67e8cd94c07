#pragma once

#include <string>

#include "support/temporary_folder.h"
#include "tools/evaluation.h"
#include "tools/simulation.h"

namespace e2e {

/// A folder with a small simulated study in every input form.
///
///   study.bed .bim .fam    study.gen study.sample    study.gen.gz    study.gen.bz2    new.gen (new layout)
///   study.vcf.gz    study.map    study.truth.haps .sample (the true haplotypes)
///   study.panel.haps.gz .legend.gz .sample, study.panel.vcf.gz (with panel individuals)
class study {
  public:
    explicit study(int individuals = 12, double megabases = 0.6, int panel_individuals = 0, int seed = 1);
    /// With a read depth above 0 the GEN form has uncertain probabilities, and differs from the BED form.
    explicit study(const simulation::Settings& settings, double read_depth = 0);

    const support::temporary_folder& folder() const { return files; }
    std::string at(const std::string& name) const { return files.at(name); }
    std::string read(const std::string& name) const;
    void write(const std::string& name, const std::string& bytes) const { files.put(name, bytes); }
    const simulation::Cohort& cohort() const { return simulated; }

    /// Compares out.haps and out.sample with the true haplotypes, and with the genotypes given: those of the
    /// BED form, or `from_gen` those that the GEN form calls with the default threshold.
    evaluation::Score score(bool from_gen = false) const;

  private:
    support::temporary_folder files;
    simulation::Cohort simulated;
};

/// Checks what every output has to fulfil: each kept person and variant appears once and in order, the output
/// alleles agree with every given genotype, and missing genotypes are imputed.
/// `haps` and `sample` are paths of the output, `prefix` that of the Plink set.
void expect_law_of_phasing(const std::string& prefix, const std::string& haps, const std::string& sample);

}  // namespace e2e
