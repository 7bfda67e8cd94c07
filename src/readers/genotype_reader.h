#pragma once

#include <map>
#include <string>
#include <vector>

#include "containers/snp_set.h"
#include "objects/chaplotype.h"
#include "readers/filter_reader.h"
#include "readers/genotype_block.h"

class ifile;

/// Reads the genotypes of the study, and the reference panel, and holds what was kept of them.
///
/// A genotype is the triple (missing, allele_a, allele_b), bit 0 of an allele being a0 of its variant:
///   (0, 0, 0) homozygous a0    (0, 0, 1) heterozygous
///   (0, 1, 1) homozygous a1    (1, 0, 0) missing
/// so a missing genotype looks homozygous to code that doesn't look at `missing`.
class genotype_reader {
  public:
    explicit genotype_reader(filter_reader& f);
    /// Does not free `snps`: the set outlives its reader.
    ~genotype_reader() = default;
    genotype_reader(const genotype_reader&) = delete;
    genotype_reader& operator=(const genotype_reader&) = delete;

    /// Offers an individual of the input; returns whether it is kept. The second kept individual of one
    /// name ends the run.
    bool putInd(const std::string& id);
    /// Index of a kept individual, or -1.
    int getInd(const std::string& id) const;
    /// Offers a variant of the input; returns whether it is kept. Negative positions are refused silently,
    /// and a position below that of the last kept variant ends the run, even if the filter would have
    /// refused it. `alt_id` and `chr` are not used.
    bool putSnp(int pos, const std::string& id, const std::string& alt_id, const std::string& chr,
                const std::string& a0, const std::string& a1);
    /// Makes all genotypes of variant `v` homozygous for a0. Returns how many were missing.
    int resetSnp(int v);

    /// Plink binary set; variants from BIM, individuals from FAM, genotypes in either order from BED.
    void readGenotypeBed(const std::string& bed, const std::string& bim, const std::string& fam);
    /// Impute2 GEN/SAMPLE pair, called by `threshold`: see hard_call.
    void readGenotypeImpute(const std::string& gen, const std::string& sample, double threshold);

    /// Reference panel, aligned to the study that has been read before: each legend line is matched to a
    /// study variant by position and alleles, and rows of swapped alleles are turned. Ends the run when a
    /// study variant stays without a match, and leaves `.snp.strand` and `.snp.strand.exclude`, named after
    /// the log, which list such variants.
    void readHaplotypeImpute(const std::string& haps, const std::string& legend, const std::string& sample);

    filter_reader& genotype_filter;
    std::map<std::string, int> ind_index;
    std::vector<std::string> ind_ids;
    snp_set* snps;
    // Individual, then variant. Equal shapes once a reader has finished.
    std::vector<chaplotype> allele_a;
    std::vector<chaplotype> allele_b;
    std::vector<chaplotype> ref_haps;  // reference haplotype, then variant, in the study's allele order
    std::vector<chaplotype> missing;

  private:
    /// Appends the genotypes of the block, one word a kept individual, to those stored, and empties it. All
    /// blocks but the last must be full.
    void putBlock(genotype_block& block);
    std::vector<bool> readBim(const std::string& bim);
    std::vector<bool> readFam(const std::string& fam);
    /// The rows of a BED file. `snp_at` and `ind_at` give the store index of each entry of BIM and FAM, -1
    /// for those left out.
    void readVariantRows(ifile& stream, const std::vector<int>& snp_at, const std::vector<int>& ind_at);
    void readIndividualRows(ifile& stream, const std::vector<int>& snp_at, const std::vector<int>& ind_at);
    std::vector<bool> readSample(const std::string& sample);

    /// What a line of the panel's legend matched: the idx of a study variant or -1, and whether its alleles
    /// stand in the other order.
    struct legend_line {
        int target;
        bool flip;
    };
    std::vector<int> readPanelSample(const std::string& sample) const;
    std::vector<legend_line> readPanelLegend(const std::string& legend) const;
    void checkPanelCovers() const;
    void readPanelHaps(const std::string& haps, const std::vector<int>& hap_slot,
                       const std::vector<legend_line>& lines);
};

/// Turns three genotype probabilities into a call: 0, 1, 2, or -1 for none, which `n_missing` and
/// `n_called` count. The called genotype's probability becomes 1, the others 0. A genotype is called when
/// its probability reaches `threshold`, or with a negative `threshold` when no other is larger. Each test
/// sees the values as the tests before it left them.
int hard_call(float& p0, float& p1, float& p2, double threshold, long& n_missing, long& n_called);
