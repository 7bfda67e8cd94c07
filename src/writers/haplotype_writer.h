#pragma once

#include <string>
#include <vector>

#include "containers/genhap_set.h"
#include "containers/variant_blocks.h"
#include "utils/output_files.h"
#include "utils/streams.h"

/// Interface of the writers of phased haplotypes, one class per file format. Takes all variants in order, in
/// blocks.
class haplotype_sink {
  public:
    haplotype_sink() = default;
    virtual ~haplotype_sink() = default;
    haplotype_sink(const haplotype_sink&) = delete;
    haplotype_sink& operator=(const haplotype_sink&) = delete;

    /// Comes first: the identifiers of the individuals, in order.
    virtual void begin(const std::vector<std::string>& individuals) = 0;
    virtual void write(const haplotype_block& block) = 0;
    /// Ends the file and checks it.
    virtual void close() = 0;
};

/// Passes the haplotypes of all individuals to a sink, and closes it.
void write_haplotypes(const genhap_set& set, haplotype_sink& sink);

/// A HAPS/SAMPLE pair. SAMPLE comes first: two header lines, then "<name> <name> 0" for each individual. HAPS
/// has for each variant its identifier twice, its position and alleles, then two digits per individual, 0 for
/// a0. Both get their names at the end, so that they belong together.
class haps_sink : public haplotype_sink {
  public:
    /// The files must have been prepared.
    haps_sink(output_files& run_outputs, std::string haps, std::string sample);

    void begin(const std::vector<std::string>& individuals) override;
    void write(const haplotype_block& block) override;
    void close() override;

  private:
    [[noreturn]] void stop_keeping(const std::string& failure);

    output_files& outputs;
    std::string haps_name, sample_name;
    ofile people, stream;
    std::vector<unsigned char> alleles;  // of 8 variants
    std::string line;
};
