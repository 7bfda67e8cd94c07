#pragma once

#include <vector>

#include "containers/genotype_store.h"
#include "modes/options.h"
#include "objects/chaplotype.h"
#include "utils/output_files.h"

/// The input of a run: genotypes of the study, and haplotypes of the panel at its variants.
struct run_input {
    genotype_store study;
    std::vector<chaplotype> panel;
};

/// Reads, checks and repairs all input of a run, and writes the files beside the log. Ends the run before
/// that if another one has replaced the log.
run_input read_input(const run_options& options, output_files& outputs);
