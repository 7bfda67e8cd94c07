#pragma once

#include <memory>
#include <vector>

#include "containers/genotype_store.h"
#include "modes/options.h"
#include "objects/chaplotype.h"
#include "utils/output_files.h"
#include "vcf/reference_alleles.h"
#include "vcf/vcf_file.h"

/// The input of a run: genotypes of the study, haplotypes of the panel at its variants, and what the result
/// in VCF needs beside the haplotypes.
struct run_input {
    genotype_store study;
    std::vector<chaplotype> panel;
    std::unique_ptr<vcf_file> vcf;    // that the study was read from, if it was
    reference_alleles alleles;        // of a VCF with a study from another format
    std::vector<chaplotype> missing;  // genotypes to leave missing there, by individual; may be empty
};

/// Reads, checks and repairs all input of a run, and writes the files beside the log. Ends the run before
/// that if another one has replaced the log.
run_input read_input(const run_options& options, output_files& outputs);
