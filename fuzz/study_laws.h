#pragma once

#include "containers/genotype_store.h"

namespace fuzz {

/// Checks invariants of the genotypes of every study that a reader accepts.
void check_study(const genotype_store& study);

}  // namespace fuzz
