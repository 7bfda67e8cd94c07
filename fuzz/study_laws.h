#pragma once

#include "containers/genotype_store.h"

namespace fuzz {

/// What holds for the genotypes of every study that a reader accepts.
void check_study(const genotype_store& study);

}  // namespace fuzz
