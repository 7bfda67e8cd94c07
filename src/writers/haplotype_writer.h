#pragma once

#include <span>
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
    /// Ends the files and checks them.
    virtual void close() = 0;
};

/// Passes the haplotypes of all individuals to a sink, and closes it.
void write_haplotypes(const genhap_set& set, haplotype_sink& sink);

/// A sink with files that get their names when those of all sinks are complete.
class result_sink : public haplotype_sink {
  public:
    /// Gives the closed files their names. Returns why that is impossible, or an empty text.
    virtual std::string publish() = 0;
    /// Leaves the closed files where they are, and tells where, as in "its haplotypes are in FILE".
    virtual std::string keep() = 0;
};

/// Gives all files their names, so that they belong together. Ends the run if that is impossible, or if
/// another run has replaced a file; then all complete files stay.
void publish(std::span<result_sink* const> sinks, output_files& outputs);

/// A HAPS/SAMPLE pair. SAMPLE comes first: two header lines, then "<name> <name> 0" for each individual. HAPS
/// has for each variant its identifier twice, its position and alleles, then two digits per individual, 0 for
/// a0.
class haps_sink : public result_sink {
  public:
    /// The files must have been prepared.
    haps_sink(output_files& run_outputs, std::string haps, std::string sample);

    void begin(const std::vector<std::string>& individuals) override;
    void write(const haplotype_block& block) override;
    void close() override;
    std::string publish() override;
    std::string keep() override;

  private:
    output_files& outputs;
    std::string haps_name, sample_name;
    ofile people, stream;
    std::vector<unsigned char> alleles;  // of 8 variants
    std::string line;
};
