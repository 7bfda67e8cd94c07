#pragma once

#include <cstddef>

#include "containers/variant_blocks.h"

/// Decodes 64 rows of a BED file, one a variant, into words, one an individual. Row r starts at
/// `rows` + r * `stride`; rows behind the last variant hold zeros. Two bits a genotype, the lowest
/// first: 0 homozygous for the first allele, 1 missing, 2 heterozygous, 3 homozygous for the second.
void decode_bed(const unsigned char* rows, std::ptrdiff_t stride, int n_individuals, genotype_word* words);
/// The same, genotype by genotype.
void decode_bed_plain(const unsigned char* rows, std::ptrdiff_t stride, int n_individuals,
                      genotype_word* words);
