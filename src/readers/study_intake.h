#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>

#include "readers/filter_reader.h"
#include "utils/genome_region.h"

/// A line of an input file, counted from 1.
struct input_line {
    const std::string& file;
    long number;
};

/// Refuses an identifier with control characters, such as a carriage return within a line.
void check_identifier(const std::string& id, const input_line& at);

/// What a run knows of its study before it reads it.
struct study_facts {
    bool names_haploid = false;                // whether it is told who has one copy of the chromosome
    std::optional<genome_region> region = {};  // the part to read; all if there is none
};

/// Decides which individuals and variants of a study are kept, and checks them in input order.
class study_intake {
  public:
    /// The filter is held by reference.
    explicit study_intake(filter_reader& f, study_facts known = {}) : filter(f), facts(std::move(known)) {}

    /// Whether an individual is kept. An identifier that was already kept ends the run.
    bool keeps_individual(const std::string& id, const input_line& at);
    /// Whether a variant at `pos` bp is kept. Negative positions are dropped silently, and so is what is not
    /// in the region. A position below that of the last kept variant ends the run, even if the filter would
    /// drop it. A chromosome that is empty or 0 is unknown, and
    /// taken for that of the region.
    bool keeps_variant(int pos, const std::string& chromosome = {});
    /// The chromosome of a variant without one: that of the region, if there is one.
    std::string chromosome_or(const std::string& chromosome) const;
    /// Refuses the chromosome of a kept variant if it is another one than that of the first, or one that
    /// males have once (X, Y or MT) and the run is not told who they are.
    void check_chromosome(const std::string& chromosome, const input_line& at);

  private:
    bool is_in_region(int pos, const std::string& chromosome) const;

    filter_reader& filter;
    study_facts facts;
    std::set<std::string> individuals;  // those kept
    int last_position = -1;             // of the last variant kept
    std::string first_chromosome;       // of the first variant kept
};
