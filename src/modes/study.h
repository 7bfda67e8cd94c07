#pragma once

#include "containers/genhap_set.h"
#include "modes/options.h"
#include "modules/worker_team.h"

/// Reads, checks and repairs all input of a run, and builds the graph of each individual. The graphs
/// represent the genotypes, which are freed on return.
genhap_set read_input(const run_options& options, worker_team& team);
