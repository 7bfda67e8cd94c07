#pragma once

#include "readers/genotype_reader.h"

namespace fuzz {

/// What holds for the genotypes of every study that a reader accepts.
void check_study(const genotype_reader& reader);

}  // namespace fuzz
