#pragma once

#include <string>
#include <vector>

#include "objects/chaplotype.h"
#include "readers/genotype_source.h"
#include "readers/study_intake.h"
#include "utils/streams.h"

/// A Plink binary set: variants from BIM, individuals from FAM, genotypes in either order from BED.
class bed_source : public genotype_source {
  public:
    /// Reads BIM and FAM, and opens BED.
    bed_source(const std::string& bed, const std::string& bim, const std::string& fam, filter_reader& filter,
               study_facts facts = {});

    const std::vector<std::string>& individuals() const override { return ids; }
    int n_expected() const override { return static_cast<int>(variants.size()); }
    bool read(genotype_block& block) override;

  private:
    void read_bim(const std::string& bim);
    void read_fam(const std::string& fam);
    void open_bed(const std::string& bed);
    void check_end();

    void read_variant_rows(genotype_block& block);
    void read_individual_rows();
    void take_individual_rows(genotype_block& block);

    study_intake intake;
    std::vector<snp> variants;        // those kept
    std::vector<bool> keeps_variant;  // one per line of BIM: whether it is kept
    std::vector<std::string> ids;     // those kept
    std::vector<int> ind_at;          // one per line of FAM: index among the kept individuals, or -1
    ifile stream;
    bool is_by_variant = true;
    bool is_at_end = false;
    std::size_t n_taken = 0;           // variants yielded so far
    std::size_t line = 0;              // next line of BIM whose row is to be read
    std::vector<unsigned char> rows;   // rows of BED: those of a block, or one individual's
    std::vector<genotype_word> words;  // one for each line of FAM
    // Genotypes of the kept individuals, if BED is individual-major.
    std::vector<chaplotype> allele_a, allele_b, missing;
};
