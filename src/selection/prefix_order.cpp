#include "selection/prefix_order.h"

#include <algorithm>

#include "containers/allele_rows.h"

prefix_order::prefix_order(int n) : order(n), seconds(n) {
    for (int h = 0; h < n; ++h) order[h] = {static_cast<std::uint32_t>(h), 0};
}

/// Moves the haplotypes with allele 1 behind those with allele 0. Branch-free, since alleles cannot be
/// predicted: writes each haplotype to both lists and advances only the one it belongs to.
void prefix_order::step(std::span<const std::uint64_t> alleles) {
    const std::uint32_t next = n_steps + 1;
    std::uint32_t start0 = next,
                  start1 = next;  // since when the next one agrees with the last one of its list
    std::size_t n0 = 0, n1 = 0;
    entry *zeros = order.data(), *ones = seconds.data();
    const std::size_t n = order.size();
    for (std::size_t i = 0; i < n; ++i) {
        const entry e = zeros[i];
        const auto one =
            static_cast<std::uint32_t>(allele_rows::allele(alleles, static_cast<int>(e.haplotype)));
        start0 = std::max(start0, e.start);
        start1 = std::max(start1, e.start);
        zeros[n0] = {e.haplotype, start0};
        ones[n1] = {e.haplotype, start1};
        n0 += 1 - one;
        n1 += one;
        start0 = one != 0 ? start0 : 0;
        start1 = one != 0 ? 0 : start1;
    }
    std::copy(seconds.begin(), seconds.begin() + static_cast<std::ptrdiff_t>(n1),
              order.begin() + static_cast<std::ptrdiff_t>(n0));
    n_steps = next;
}
