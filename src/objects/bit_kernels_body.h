// Included once for each instruction set, within a namespace of its own, with KERNEL set to the function
// attribute that selects it. There is no include guard on purpose.

KERNEL inline int count(std::uint64_t bits) {
    return __builtin_popcountll(bits);
}

/// Two distances of one row, which share its loads.
KERNEL inline void distance_to_both(const unsigned char* row, const unsigned char* t0,
                                    const unsigned char* t1, int n, int& d0, int& d1) {
    int sum0 = 0, sum1 = 0, at = 0;
    for (; at + WORD <= n; at += WORD) {
        const std::uint64_t x = word_at(row + at);
        sum0 += count(x ^ word_at(t0 + at));
        sum1 += count(x ^ word_at(t1 + at));
    }
    if (at < n) {
        const std::uint64_t x = rest_at(row, at, n);
        sum0 += count(x ^ rest_at(t0, at, n));
        sum1 += count(x ^ rest_at(t1, at, n));
    }
    d0 = sum0;
    d1 = sum1;
}

KERNEL int distance(const unsigned char* a, const unsigned char* b, int n) {
    int sum = 0, at = 0;
    for (; at + WORD <= n; at += WORD) sum += count(word_at(a + at) ^ word_at(b + at));
    if (at < n) sum += count(rest_at(a, at, n) ^ rest_at(b, at, n));
    return sum;
}

KERNEL void scan(const chaplotype* H, const int* list, int n_haplotypes, int first, int n,
                 const unsigned char* t0, const unsigned char* t1, int* d0, int* d1) {
    // Rows lie anywhere in memory: they are fetched ahead, as their addresses are before them.
    constexpr int AHEAD = 12;
    for (int i = 0; i < n_haplotypes; ++i) {
        const chaplotype& h = H[list == nullptr ? i : list[i]];
        if (i + 2 * AHEAD < n_haplotypes)
            __builtin_prefetch(&H[list == nullptr ? i + 2 * AHEAD : list[i + 2 * AHEAD]]);
        if (i + AHEAD < n_haplotypes) {
            const unsigned char* row = H[list == nullptr ? i + AHEAD : list[i + AHEAD]].data.data() + first;
            for (int at = 0; at < n; at += CACHE_LINE) __builtin_prefetch(row + at);
        }
        distance_to_both(h.data.data() + first, t0, t1, n, d0[i], d1[i]);
    }
}

KERNEL overlap_counts overlap(const chaplotype& c0, const chaplotype& c1, const chaplotype& h0,
                              const chaplotype& h1, int first, int last) {
    overlap_counts counts{0, 0, 0};
    const int last_byte = last >> 3;
    for (int byte = first >> 3; byte <= last_byte; byte += WORD) {
        const int n = last_byte + 1;
        const std::uint64_t a = bytes_at(h0.data.data(), byte, n), b = bytes_at(h1.data.data(), byte, n);
        const std::uint64_t match0 = ~(a ^ bytes_at(c0.data.data(), byte, n));
        const std::uint64_t match1 = ~(b ^ bytes_at(c1.data.data(), byte, n));
        const std::uint64_t counted = loci_between(8 * byte, first, last);
        counts.only0 += count(match0 & ~match1 & counted);
        counts.only1 += count(match1 & ~match0 & counted);
        // Where both match, all four are alike if the targets are.
        counts.both += count(match0 & match1 & (a ^ b) & counted);
    }
    return counts;
}

const kernel_set KERNELS = {NAME, is_available, distance, scan, overlap};
