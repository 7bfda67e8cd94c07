#pragma once

#include <cstdint>
#include <vector>

#include "vcf/vcf_file.h"

/// The two classes of alleles of a variant. A record with more than two alleles takes part as its most
/// frequent one against all others.
struct allele_classes {
    int first = 0;  // the allele of class 0; all others are class 1
    int n_alleles = 2;

    bool operator==(const allele_classes&) const = default;
};

/// What the individuals kept are called in one record.
struct record_calls {
    allele_classes classes;
    long n_called = 0;         // not missing
    long n_half_missing = 0;   // one allele of two, taken for missing
    long n_phased = 0;         // heterozygous with a phase, which is not used
    long n_two_others = 0;     // two different alleles of class 1
    std::vector<int> haploid;  // who has one allele, or one missing one; indexes among those kept, ascending
};

/// Decodes the genotypes of records.
class call_decoder {
  public:
    /// `kept` has for each individual of the file its index among those kept, or -1.
    explicit call_decoder(std::vector<int> kept);

    /// Adds the genotypes of the last record of the file to a row that is 0: two bits for each individual of
    /// the file, coded and packed as in BED, class 0 being the first allele. Returns nullptr if the record
    /// has no genotypes. The result is valid until the next call. Ends the run at values that are no genotype
    /// of one or two alleles of the record.
    const record_calls* decode(vcf_file& file, unsigned char* row);

  private:
    std::vector<int> index;
    record_calls calls;
};
