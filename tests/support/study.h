#pragma once

#include <string>
#include <vector>

#include "containers/genotype_store.h"
#include "readers/filter_reader.h"

namespace support {

/// A store of these genotypes (see genotypes_from), one text per individual. Variants are at 100, 200, ... bp
/// with alleles A and G, and individuals are named I0, I1, ...
genotype_store study_of(const std::vector<std::string>& genotypes);

/// The genotypes of a store, one text per individual; '?' for an invalid code.
std::vector<std::string> genotypes_of(const genotype_store& store);
/// Each variant as "id:bp:a0:a1".
std::vector<std::string> variants_of(const snp_set& snps);

/// Reads files with a filter that keeps everything unless the test changes it.
struct study {
    study();
    void read_bed(const std::string& bed, const std::string& bim, const std::string& fam);
    void read_gen(const std::string& gen, const std::string& sample, double threshold);
    /// Reads a panel without checking that it covers the study.
    void read_panel(const std::string& haps, const std::string& legend, const std::string& sample);

    std::vector<std::string> genotypes() const { return genotypes_of(store); }
    std::vector<std::string> variants() const { return variants_of(store.snps); }
    /// Texts of the panel's haplotypes.
    std::vector<std::string> panel_haplotypes() const;

    filter_reader filter;
    genotype_store store;
    std::vector<chaplotype> panel;
};

}  // namespace support
