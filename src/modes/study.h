#pragma once

#include "containers/genhap_set.h"
#include "modes/options.h"
#include "modules/worker_team.h"
#include "utils/output_files.h"

/// Reads, checks and repairs all input of a run, and builds the graph of each individual. The graphs
/// represent the genotypes, which are freed on return. Ends the run before it writes files beside the log if
/// another run has replaced the log.
genhap_set read_input(const run_options& options, output_files& outputs, worker_team& team);
