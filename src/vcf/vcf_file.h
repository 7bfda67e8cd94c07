#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "utils/genome_region.h"
#include "vcf/hts_handles.h"

/// A VCF or BCF file as it is read, record by record: one chromosome, or a region of it. Everything that is
/// wrong with the file ends the run with a message that names the file, the record and the reason.
///
/// The file has to be local and regular, since it is read again when the result is written. A bgzipped file
/// without its end block is taken for cut short. The index serves a region where there is one; it may not be
/// older than the file. Positions have to be sorted.
class vcf_file {
  public:
    /// Opens the file and reads its header. Without a region, the file must have one chromosome. `n_threads`
    /// decompress.
    vcf_file(const std::string& name, std::optional<genome_region> region, int n_threads);

    const std::string& name() const { return file; }
    /// Tags that the header lacks but records have are added as these records are read.
    bcf_hdr_t* header() { return head.get(); }
    /// Lines of the header of a VCF text that htslib does not keep: equal ones, and some that it can't parse.
    std::vector<std::string> lost_header_lines();
    /// Identifiers of all individuals, in order.
    std::vector<std::string> individuals() const;

    /// Reads the next record of the region, with the genotypes unpacked. False behind the last one.
    bool next();
    bcf1_t* record() { return line.get(); }
    /// Number of records of the region that were read, the last one included.
    long n_read() const { return count; }
    /// Position of the last record in bp, from 1.
    std::int64_t position() const { return line->pos + 1; }
    /// Name of the chromosome of the last record.
    std::string chromosome() const;
    /// File, number and position of the last record, for messages.
    std::string place() const;

    /// Starts again before the first record.
    void rewind();

    /// Ends the run with a message about the last record.
    [[noreturn]] void stop(const std::string& reason) const;

  private:
    void open();
    void open_region();
    void open_index(const std::string& chromosome);
    void resolve_chromosome(const std::vector<std::string>& names);
    hts::header_handle read_header();
    void read_header_lines();
    void check_end() const;
    [[noreturn]] void stop_without_header() const;
    bool read_record();
    [[noreturn]] void stop_behind_last() const;
    int parse_text();
    void check_record();
    void check_alleles();
    [[noreturn]] void stop_at_second_chromosome();

    /// Tells whether the file was written since it was opened: node, size and time of the last change.
    using file_state = std::array<std::int64_t, 4>;

    std::string file;
    file_state state{};
    std::optional<genome_region> region;
    int threads;
    hts::file_handle stream;
    hts::header_handle head;
    hts::record_handle line;
    std::vector<std::string> header_lines;  // of a VCF text, the last one with the columns
    // Of an indexed region. `tabix` is for VCF text, `index` for BCF.
    hts::tabix_handle tabix;
    hts::index_handle index;
    hts::iterator_handle part;
    hts::text_buffer text;
    long count = 0;
    int chromosome_id = -1;          // in the header, of the records of the region; -1 while unknown
    std::int64_t last_position = 0;  // bp
};
