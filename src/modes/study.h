#pragma once

#include "containers/genhap_set.h"
#include "modes/options.h"
#include "modules/worker_team.h"

/// Reads, checks and repairs all input of a run, and builds the graph of each individual. The genotypes as
/// read are freed when it returns: the graphs hold them.
genhap_set read_input(const run_options& options, worker_team& team);
