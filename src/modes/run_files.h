#pragma once

#include <string>
#include <vector>

#include "modes/options.h"
#include "utils/output_files.h"
#include "vcf/vcf_output_file.h"

/// The files that a run reads and writes, and checks of them.

/// Names of the three files of a Plink set, and of the two files of a GEN/SAMPLE and of a HAPS/SAMPLE pair.
/// The option takes a prefix, or one name per file; for any other number of names the result is empty.
file_names bed_files(const run_options& options);
file_names gen_files(const run_options& options);
file_names haplotype_files(const run_options& options);

/// The file of --output-vcf and its index, and how they are written.
file_names vcf_files(const run_options& options);
vcf_output_settings vcf_settings(const run_options& options);

/// Whether the panel is one VCF or BCF file, and not three others.
bool has_vcf_panel(const run_options& options);

/// Files that the run reads.
file_names input_files(const run_options& options);

/// Ends the run if it would overwrite a file that it reads, or write two outputs to one file, or an output to
/// the file that has its console output. `log` is the name of its log. Creates no file, so a mistyped command
/// line destroys no data.
void refuse_overwriting(const run_options& options, const std::string& log);

/// Ends the run at the first file that can't be used. Takes the haplotype files for this run.
void check_files(const run_options& options, output_files& outputs);
