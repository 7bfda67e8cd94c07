// Included once for each instruction set, within a namespace of its own, with KERNEL set to the function
// attribute that selects it, HAS_POPCOUNT where it counts the bits of a word, and WIDE where it has registers
// of 64 bytes that count too. There is no include guard on purpose.

KERNEL inline int count(std::uint64_t bits) {
#if HAS_POPCOUNT
    return __builtin_popcountll(bits);
#else
    // Sums of 2, 4, and 8 bits side by side; the product adds up the bytes.
    bits -= bits >> 1 & 0x5555555555555555;
    bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F;
    return static_cast<int>(bits * 0x0101010101010101 >> 56);
#endif
}

#if WIDE
using words [[gnu::vector_size(64)]] = std::uint64_t;
using half_words [[gnu::vector_size(32)]] = std::uint64_t;

KERNEL inline words load(const unsigned char* bytes, __mmask64 there) {
    return reinterpret_cast<words>(_mm512_maskz_loadu_epi8(there, bytes));
}

/// Set bits of each word: two look-ups a byte, one for each half of it.
KERNEL inline words counts(words bits) {
    constexpr std::uint64_t TO_7 = 0x0302020102010100, TO_15 = 0x0403030203020201;  // bits of 0 to 7, 8 to 15
    const words n_bits = {TO_7, TO_15, TO_7, TO_15, TO_7, TO_15, TO_7, TO_15};
    const words low = 0x0F0F0F0F0F0F0F0F - words{};
    const auto look_up = [n_bits](words halves) KERNEL {
        return _mm512_shuffle_epi8(reinterpret_cast<__m512i>(n_bits), reinterpret_cast<__m512i>(halves));
    };
    const __m512i of_bytes = _mm512_add_epi8(look_up(bits & low), look_up(bits >> 4 & low));
    return reinterpret_cast<words>(_mm512_sad_epu8(of_bytes, _mm512_setzero_si512()));
}

KERNEL inline std::uint64_t total(words w) {
    const half_words quarters =
        __builtin_shufflevector(w, w, 0, 1, 2, 3) + __builtin_shufflevector(w, w, 4, 5, 6, 7);
    return quarters[0] + quarters[1] + (quarters[2] + quarters[3]);
}

/// Two distances of one row by registers of 64 bytes, which pay from two of them on.
KERNEL inline void wide_distance_to_both(const unsigned char* row, const unsigned char* t0,
                                         const unsigned char* t1, int n, int& d0, int& d1) {
    words sum0{}, sum1{};
    for (int at = 0; at < n; at += CACHE_LINE) {
        const __mmask64 there = n - at < CACHE_LINE ? (std::uint64_t{1} << (n - at)) - 1 : ~std::uint64_t{0};
        const words x = load(row + at, there);
        sum0 += counts(x ^ load(t0 + at, there));
        sum1 += counts(x ^ load(t1 + at, there));
    }
    // Neither sum comes near 32 bits: both are added up in one go.
    const std::uint64_t both = total(sum0 | sum1 << 32);
    d0 = static_cast<int>(both & 0xFFFFFFFF);
    d1 = static_cast<int>(both >> 32);
}
#endif

/// Two distances of one row, which share its loads.
KERNEL inline void distance_to_both(const unsigned char* row, const unsigned char* t0,
                                    const unsigned char* t1, int n, int& d0, int& d1) {
#if WIDE
    if (n >= 2 * CACHE_LINE) return wide_distance_to_both(row, t0, t1, n, d0, d1);
#endif
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
#if WIDE
    if (n >= 2 * CACHE_LINE) {
        int sum, again;
        wide_distance_to_both(a, b, b, n, sum, again);
        return sum;
    }
#endif
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
