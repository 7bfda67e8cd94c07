#pragma once

#include <string>

#include "containers/snp.h"

namespace spare {

/// Offers an allele to a variant: an empty a0, then an empty a1, takes it. Returns 0 or 1 for the allele that
/// it equals, -1 for a third one.
int put_allele(snp& variant, const std::string& allele);

/// True for two different alleles of one character each.
bool isSNP(const snp& variant);

}  // namespace spare
