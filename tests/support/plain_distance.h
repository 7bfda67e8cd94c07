#pragma once

#include <algorithm>
#include <string>

namespace support {

/// Number of different alleles of two haplotypes written as text, at the loci of `n_bytes` bytes from
/// `first_byte` on.
inline int plain_distance(const std::string& a, const std::string& b, int first_byte, int n_bytes) {
    int n = 0;
    const int end = std::min(static_cast<int>(a.size()), 8 * (first_byte + n_bytes));
    for (int l = 8 * first_byte; l < end; ++l) n += a[l] != b[l];
    return n;
}

}  // namespace support
