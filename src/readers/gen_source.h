#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "readers/genotype_source.h"
#include "readers/study_intake.h"
#include "utils/streams.h"
#include "utils/sutils.h"

/// An Impute2 GEN/SAMPLE pair: genotype probabilities, called by a threshold (see hard_call).
class gen_source : public genotype_source {
  public:
    /// Reads SAMPLE, and opens GEN.
    gen_source(const std::string& gen, const std::string& sample, double threshold, filter_reader& filter,
               study_facts facts = {});

    const std::vector<std::string>& individuals() const override { return ids; }
    bool read(genotype_block& block) override;

  private:
    void read_sample(const std::string& sample);
    void check_fields();
    bool take_variant(sutils::field_cursor& cursor, genotype_block& block);
    void take_genotypes(sutils::field_cursor& cursor, genotype_block& block);
    void print_summary() const;

    study_intake intake;
    double threshold;
    std::array<int, 8> certain;  // calls of probabilities that are 0 or 1
    std::vector<std::string> ids;
    std::vector<bool> keeps_individual;  // one per line of SAMPLE
    ifile stream;
    std::string line;
    std::vector<std::string_view> fields;  // those before the probabilities
    bool is_new_format = false;            // of the current line
    bool is_at_end = false;
    int n_lines = 0, n_kept = 0;
    long n_called = 0, n_missing = 0;
};

/// Calls a genotype from three probabilities: 0, 1, 2, or -1 for missing. Counts the call in `n_missing` or
/// `n_called`. The probability of the called genotype becomes 1, the others 0. A genotype is called if its
/// probability reaches `threshold`; if `threshold` is negative, it is called if no other probability is
/// larger. The genotypes are tested in order, each with the values left by the tests before.
int hard_call(float& p0, float& p1, float& p2, double threshold, long& n_missing, long& n_called);
