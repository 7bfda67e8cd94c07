#pragma once

#include <memory>
#include <string>

#include "utils/pending_file.h"
#include "vcf/hts_handles.h"

enum class vcf_index { none, csi, tbi };

/// How a VCF or BCF file is written.
struct vcf_output_settings {
    std::string name;  // its ending tells the format: .vcf, .vcf.gz or .bcf
    vcf_index index = vcf_index::csi;
    int n_threads = 1;  // that compress
};

/// Whether a name has one of the endings of VCF and BCF.
bool is_vcf_name(const std::string& name);
/// The name of the index of a file, empty if it gets none: a file that is not compressed or not regular.
std::string index_name(const vcf_output_settings& settings);

/// A VCF or BCF file as it is written, with its index. Both get their names when they are complete. What goes
/// wrong ends the run with a message that names the file.
class vcf_output_file {
  public:
    /// Opens the file, which must have been prepared, and writes the header.
    vcf_output_file(vcf_output_settings chosen, hts::header_handle output_header);

    bcf_hdr_t* header() { return head.get(); }
    void write(bcf1_t* record);
    /// Ends the file and its index, and checks them.
    void close();
    /// Gives both their names. Returns why that is impossible, or an empty text.
    std::string publish();
    /// Leaves the file where it is, and tells where.
    std::string keep() { return "its VCF is in " + pending.keep(); }

  private:
    void make_index();
    void remove_other_indexes() const;
    [[noreturn]] void stop() const;

    vcf_output_settings settings;
    std::string index_file;  // empty if there is none
    hts::header_handle head;
    pending_file pending;
    std::unique_ptr<pending_file> pending_index;
    hts::file_handle stream;
};
