#pragma once

#include <string>
#include <vector>

#include "support/temporary_folder.h"

namespace support {

/// The text of a VCF with contig lines for chromosomes 20, 21 and X. A record is a list of words: chromosome,
/// position, id, alleles, and a genotype for each individual. `header` has further header lines.
std::string vcf_text(const std::vector<std::string>& individuals, const std::vector<std::string>& records,
                     const std::string& header = "");

/// Writes a VCF text as a file of that name and returns its path: bgzipped for .vcf.gz, as BCF for .bcf.
std::string put_vcf(const temporary_folder& folder, const std::string& name, const std::string& text);
/// Makes the index of a file: .tbi or .csi for a VCF, .csi for a BCF.
void index_vcf(const std::string& file, bool tbi = false);

/// The lines of a VCF or BCF file as text, without the header.
std::vector<std::string> records_of(const std::string& file);
/// The lines of its header.
std::vector<std::string> header_of(const std::string& file);
/// The genotypes of each record, separated by blanks.
std::vector<std::string> calls_of(const std::string& file);

}  // namespace support
