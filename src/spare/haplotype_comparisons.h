#pragma once

#include <array>
#include <cstdint>

#include "objects/chaplotype.h"

/// Comparisons of haplotypes over the loci `first` to `last`, both inclusive.
namespace spare {

/// Number of set bits of each byte value.
extern const std::array<std::int32_t, 256> distance_lookup;

/// chaplotype::hamming, or DISTANCE_BEYOND_LIMIT when the distance is above `limit`.
int hamming_within(const chaplotype& a, const chaplotype& b, int first, int last, int limit);

/// Length in loci of the longest run of equal bytes among those that hold the loci. Returns 0 as soon as
/// `min_length` is above eight times the number of bytes left.
int perfectmatch(const chaplotype& a, const chaplotype& b, int first, int last, int min_length);

/// Follows the haplotype `h` along `a` and `b`: counts the switches from one to the other, and the loci where
/// it equals neither.
void switcherror(const chaplotype& h, const chaplotype& a, const chaplotype& b, int first, int last,
                 int& n_switch, int& n_mismatch);
/// The same for an estimated pair `h0`, `h1` against a true pair `t0`, `t1`; a mismatch is a locus where the
/// genotypes differ.
void switcherror(const chaplotype& h0, const chaplotype& h1, const chaplotype& t0, const chaplotype& t1,
                 int first, int last, int& n_switch, int& n_mismatch);

}  // namespace spare
