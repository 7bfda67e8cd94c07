#pragma once

#include <set>
#include <string>

#include "readers/filter_reader.h"

/// Decides which individuals and variants of a study are kept, and checks them in input order.
class study_intake {
  public:
    /// The filter is held by reference.
    explicit study_intake(const filter_reader& f) : filter(f) {}

    /// Whether an individual is kept. An identifier that was already kept ends the run.
    bool keeps_individual(const std::string& id);
    /// Whether a variant at `pos` bp is kept. Negative positions are dropped silently. A position below that
    /// of the last kept variant ends the run, even if the filter would drop it.
    bool keeps_variant(int pos);

  private:
    const filter_reader& filter;
    std::set<std::string> individuals;  // those kept
    int last_position = -1;             // of the last variant kept
};
