#pragma once

#include <string>
#include <vector>

#include "modes/options.h"
#include "utils/output_files.h"

/// Reads the command line of a run that started at `start` (seconds since 1970), prints the banner, answers
/// --help, takes the log for this run and opens it. A syntax error ends the process with one line and status
/// 0, or 2 if the line asks for strictness; a log that can't be opened ends it with status 1.
run_options start_run(const std::vector<std::string>& args, long start, output_files& outputs);

/// Writes the version and the date to the log, and the date and the name of the log to the console.
void print_version_and_date(long start);

/// The header line that a VCF of this run gets: it tells version and options, and depends on nothing else.
std::string version_line(const run_options& options);
