#pragma once

#include <string>
#include <vector>

#include "modes/options.h"

/// Which files a run reads and writes, and whether it may.

/// Names of the three files of a Plink set, of a GEN/SAMPLE pair, and of the haplotypes and their people: the
/// option takes a prefix, or one name for each file. Empty for another number of names.
file_names bed_files(const run_options& options);
file_names gen_files(const run_options& options);
file_names haplotype_files(const run_options& options);

/// Files that the run reads.
file_names input_files(const run_options& options);

/// Ends the run if it would overwrite a file that it reads, or write two outputs to one file, when its log is
/// called `log`. Creates nothing, so a slip on the command line can't cost any data.
void refuse_overwriting(const run_options& options, const std::string& log);

/// Makes sure that no other run writes this file while this one lives.
void take_output(const std::string& file);

/// Ends the run at the first file that can't be used. The outputs are taken, and created empty.
void check_files(const run_options& options);
