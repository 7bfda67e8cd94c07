#pragma once

#include <cstddef>

#include "containers/variant_blocks.h"

/// Decodes 64 rows of a BED file, one per variant, into words, one per individual. Rows are `stride` bytes
/// apart; those past the last variant must be 0. A genotype has two bits, the lowest bits first: 0 homozygous
/// for the first allele, 1 missing, 2 heterozygous, 3 homozygous for the second.
void decode_bed(const unsigned char* rows, std::ptrdiff_t stride, int n_individuals, genotype_word* words);
/// Reference implementation, genotype by genotype.
void decode_bed_plain(const unsigned char* rows, std::ptrdiff_t stride, int n_individuals,
                      genotype_word* words);
