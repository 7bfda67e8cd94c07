#include "containers/allele_rows.h"

#include <algorithm>
#include <array>

#include "objects/chaplotype.h"
#include "utils/bits.h"

namespace {

constexpr int BLOCK = 64;  // haplotypes and loci that are transposed together

}  // namespace

void allele_rows::copy(const std::vector<chaplotype>& H, int first, int last) {
    first_locus = first;
    n_words = (H.size() + BLOCK - 1) / BLOCK;
    const int n_loci = last - first + 1;
    words.assign(n_words * static_cast<std::size_t>(n_loci), 0);
    std::array<std::uint64_t, BLOCK> block;
    for (std::size_t word = 0; word < n_words; ++word) {
        const int n = static_cast<int>(std::min<std::size_t>(BLOCK, H.size() - word * BLOCK));
        for (int l = 0; l < n_loci; l += BLOCK) {
            block.fill(0);
            for (int i = 0; i < n; ++i) block[i] = H[word * BLOCK + i].get64(first + l);
            transpose(block);
            const int n_rows = std::min(BLOCK, n_loci - l);
            for (int i = 0; i < n_rows; ++i)
                words[static_cast<std::size_t>(l + i) * n_words + word] = block[i];
        }
    }
}
