#include "selection/haplotype_tiles.h"

#include <numeric>

#include "objects/chaplotype.h"
#include "utils/assertion.h"

using bit_kernels::TILE;

namespace {

constexpr int WORD = 8;  // bytes

/// Bits of word `word` that belong to the bytes from `first` to `end`, exclusive.
std::uint64_t bytes_between(int word, int first, int end) {
    std::uint64_t bits = ~std::uint64_t{0};
    const int before = first - WORD * word, behind = WORD * (word + 1) - end;
    if (before > 0) bits &= ~std::uint64_t{0} << (8 * before);
    if (behind > 0) bits &= ~std::uint64_t{0} >> (8 * behind);
    return bits;
}

}  // namespace

void haplotype_tiles::copy(const std::vector<chaplotype>& H) {
    n_haplotypes = static_cast<int>(H.size());
    n_words = H.empty() ? 0 : (static_cast<int>(H.front().data.size()) + WORD - 1) / WORD;
    numbers.resize((n_haplotypes + TILE - 1) / TILE);
    std::iota(numbers.begin(), numbers.end(), 0);
    lines.resize(numbers.size() * n_words);
    for (const chaplotype& h : H)
        TOLVANE_ASSERT(h.data.size() >= H.front().data.size(), "h.data.size() >= H.front().data.size()");
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const int first = TILE * static_cast<int>(i / n_words), word = static_cast<int>(i % n_words);
        for (int j = 0; j < TILE; ++j)
            lines[i].words[j] = first + j < n_haplotypes ? H[first + j].get64(64 * word) : 0;
    }
}

void haplotype_tiles::distances(const std::vector<int>& of_tiles, int target0, int target1, int first_byte,
                                int n_bytes, target_distances& out,
                                const bit_kernels::kernel_set& kernels) const {
    for (std::vector<int>* d : {&out.d0, &out.d1})
        if (d->size() < numbers.size() * TILE) d->resize(numbers.size() * TILE);
    const int end_byte = first_byte + n_bytes, first_word = first_byte / WORD,
              n_range = (end_byte - 1) / WORD + 1 - first_word;
    out.targets.resize(n_range);
    for (int w = 0; w < n_range; ++w)
        out.targets[w] = {word_of(target0, first_word + w), word_of(target1, first_word + w),
                          bytes_between(first_word + w, first_byte, end_byte)};
    kernels.scan(lines.data() + first_word, n_words, of_tiles.data(), static_cast<int>(of_tiles.size()),
                 out.targets.data(), n_range, out.d0.data(), out.d1.data());
}
