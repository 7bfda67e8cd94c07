#pragma once

#include <string>
#include <vector>

#include "containers/genhap_set.h"
#include "containers/variant_blocks.h"
#include "utils/streams.h"

/// Interface of the writers of phased haplotypes, one class per file format. Takes all variants in order, in
/// blocks.
class haplotype_sink {
  public:
    haplotype_sink() = default;
    virtual ~haplotype_sink() = default;
    haplotype_sink(const haplotype_sink&) = delete;
    haplotype_sink& operator=(const haplotype_sink&) = delete;

    virtual void write(const haplotype_block& block) = 0;
    /// Ends the file and checks it.
    virtual void close() = 0;
};

/// Passes the haplotypes of all individuals to a sink, and closes it.
void write_haplotypes(const genhap_set& set, haplotype_sink& sink);

/// A HAPS file: for each variant its identifier twice, its position and alleles, then two digits per
/// individual, 0 for a0.
class haps_sink : public haplotype_sink {
  public:
    /// Creates the file.
    explicit haps_sink(const std::string& haps) : stream(haps) {}

    void write(const haplotype_block& block) override;
    void close() override { stream.close(); }

  private:
    ofile stream;
    std::vector<unsigned char> alleles;  // of 8 variants
    std::string line;
};

/// Writes a HAPS/SAMPLE pair. SAMPLE comes first: two header lines, then "<name> <name> 0" for each
/// individual.
void writeHaplotypeHap(const genhap_set& set, const std::string& haps, const std::string& sample);
