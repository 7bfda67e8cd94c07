#pragma once

#include "containers/genotype_store.h"
#include "readers/filter_reader.h"

namespace fuzz {

/// Excludes an individual and a position.
filter_reader small_filter();

/// A study that can be compared with another one.
struct comparable_study : genotype_store {
    bool operator==(const comparable_study& other) const;
};

/// Checks invariants of the genotypes of every study that a reader accepts.
void check_study(const genotype_store& study);

}  // namespace fuzz
