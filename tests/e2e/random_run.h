#pragma once

#include <random>
#include <string>
#include <vector>

#include "support/temporary_folder.h"

namespace e2e {

constexpr int NOT_CALLED = -1;

/// A variant of the study with the genotype of each person: copies of a1, or NOT_CALLED.
struct drawn_variant {
    std::string id;
    int position = 0;
    std::string a0, a1;
    std::vector<int> genotypes;
};

/// A whole run drawn from a seed: input files in any form, filters and options, and what the output has to
/// agree with. It uses no code of the program.
class random_run {
  public:
    explicit random_run(unsigned seed);

    const support::temporary_folder& folder() const { return files; }
    /// The whole command line. Names of files have no blanks.
    const std::string& line() const { return command; }

    /// The study as a reader sees it, all people and variants in the order of the files.
    std::vector<std::string> people;
    std::vector<drawn_variant> variants;
    std::vector<std::string> panel_people;
    /// Whether the filters keep each of them.
    std::vector<bool> person_kept, variant_kept, panel_person_kept;

    bool from_gen = false;
    bool has_panel = false;
    bool has_trees = false;
    std::string haps = "out.haps", sample = "out.sample";  // names of the output

  private:
    enum class layout { old_gen, new_gen, mixed_gen };

    int draw(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random); }
    bool chance(int percent) { return draw(1, 100) <= percent; }
    template <class Value>
    Value one_of(const std::vector<Value>& values) {
        return values[draw(0, static_cast<int>(values.size()) - 1)];
    }

    void draw_cohort();
    void spoil_genotypes();
    void spoil_variants();
    void draw_filters();
    void filter_people();
    void filter_positions();
    void draw_options();

    void write_plink();
    void write_gen();
    std::string gen_line(std::size_t v, layout form);
    std::string probabilities(int genotype);
    void write_map();
    void write_panel();
    /// Writes a text under this name, or compressed with `.gz` or `.bz2` appended; returns the name.
    std::string put(const std::string& name, std::string text, bool may_have_crlf = true);

    std::mt19937 random;
    support::temporary_folder files;
    std::string command;
    std::vector<std::vector<bool>> panel_alleles;  // variants by haplotypes, true for a1
    double threshold = 0.9;
};

}  // namespace e2e
