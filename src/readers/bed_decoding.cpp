#include "readers/bed_decoding.h"

#include <algorithm>
#include <array>

#include "utils/bits.h"

namespace {

constexpr int BYTE_BITS = 8;
constexpr int PER_BYTE = 4;  // genotypes

/// Bits of the four genotypes in one byte column, over 64 rows: plane 2j holds the low bits of genotype j,
/// plane 2j + 1 its high bits.
using planes = std::array<std::uint64_t, BYTE_BITS>;

planes planes_of_column(const unsigned char* column, std::ptrdiff_t stride) {
    planes p{};
    for (int first = 0; first < BLOCK_VARIANTS; first += BYTE_BITS) {
        std::uint64_t bytes = 0;
        for (int r = 0; r < BYTE_BITS; ++r)
            bytes |= std::uint64_t{column[(first + r) * stride]} << (BYTE_BITS * r);
        bytes = transposed(bytes);
        for (int q = 0; q < BYTE_BITS; ++q) p[q] |= (bytes >> (BYTE_BITS * q) & 0xFF) << first;
    }
    return p;
}

}  // namespace

void decode_bed(const unsigned char* rows, std::ptrdiff_t stride, int n_individuals, genotype_word* words) {
    for (int i = 0; i < n_individuals; i += PER_BYTE) {
        const planes p = planes_of_column(rows + i / PER_BYTE, stride);
        for (int j = 0; j < std::min(PER_BYTE, n_individuals - i); ++j) {
            const std::uint64_t low = p[2 * j], high = p[2 * j + 1];
            words[i + j] = {low & high, high, low & ~high};
        }
    }
}

void decode_bed_plain(const unsigned char* rows, std::ptrdiff_t stride, int n_individuals,
                      genotype_word* words) {
    for (int i = 0; i < n_individuals; ++i) {
        genotype_word word;
        for (int v = 0; v < BLOCK_VARIANTS; ++v) {
            const int code = rows[v * stride + i / PER_BYTE] >> (2 * (i % PER_BYTE)) & 3;
            const std::uint64_t bit = std::uint64_t{1} << v;
            if (code == 1) word.missing |= bit;
            if (code >= 2) word.allele_b |= bit;
            if (code == 3) word.allele_a |= bit;
        }
        words[i] = word;
    }
}
