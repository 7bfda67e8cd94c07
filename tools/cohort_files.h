#pragma once

#include <string>
#include <vector>

#include "tools/simulation.h"

namespace simulation {

/// All functions replace files of the same name, and throw std::runtime_error if one cannot be written.

/// Genotypes of the study as PREFIX.bed, PREFIX.bim and PREFIX.fam, in variant-major order.
void write_bed(const Cohort& cohort, const std::string& prefix);

/// Genotypes of the study as PREFIX.gen (or PREFIX.gen.gz) and PREFIX.sample. With a read depth above 0,
/// every genotype is observed through that many sequencing reads on average and has uncertain probabilities.
void write_gen(const Cohort& cohort, const std::string& prefix, bool compressed, double read_depth);

/// Genotypes of the study as PREFIX.vcf.gz, with allele 0 as the reference.
void write_vcf(const Cohort& cohort, const std::string& prefix);

/// The genetic map as PREFIX.map (or PREFIX.map.gz).
void write_map(const Cohort& cohort, const std::string& prefix, bool compressed);

/// The true haplotypes of the study as PREFIX.truth.haps (or PREFIX.truth.haps.gz) and PREFIX.truth.sample.
void write_truth(const Cohort& cohort, const std::string& prefix, bool compressed);

/// The reference panel as PREFIX.panel.haps.gz, PREFIX.panel.legend.gz and PREFIX.panel.sample.
void write_panel(const Cohort& cohort, const std::string& prefix);

/// The same as PREFIX.panel.vcf.gz.
void write_panel_vcf(const Cohort& cohort, const std::string& prefix);

/// The genotypes of one variant in BED coding: four to a byte, the first in the lowest two bits.
std::string bed_block(const std::vector<Genotype>& genotypes);

}  // namespace simulation
