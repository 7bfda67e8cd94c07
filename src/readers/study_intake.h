#pragma once

#include <set>
#include <string>

#include "readers/filter_reader.h"

/// A line of an input file, counted from 1.
struct input_line {
    const std::string& file;
    long number;
};

/// Refuses an identifier with control characters, such as a carriage return within a line.
void check_identifier(const std::string& id, const input_line& at);

/// Decides which individuals and variants of a study are kept, and checks them in input order.
class study_intake {
  public:
    /// The filter is held by reference.
    explicit study_intake(filter_reader& f) : filter(f) {}

    /// Whether an individual is kept. An identifier that was already kept ends the run.
    bool keeps_individual(const std::string& id, const input_line& at);
    /// Whether a variant at `pos` bp is kept. Negative positions are dropped silently. A position below that
    /// of the last kept variant ends the run, even if the filter would drop it.
    bool keeps_variant(int pos);
    /// Refuses the chromosome of a kept variant if it is another one than that of the first, or one that
    /// males have once: X, Y or MT.
    void check_chromosome(const std::string& chromosome, const input_line& at);

  private:
    filter_reader& filter;
    std::set<std::string> individuals;  // those kept
    int last_position = -1;             // of the last variant kept
    std::string first_chromosome;       // of the first variant kept
};
