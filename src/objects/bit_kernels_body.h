// Included once per instruction set, each time in a namespace of its own, with KERNEL set to the function
// attribute that selects the instruction set, HAS_POPCOUNT to 1 if it has an instruction to count bits, and
// REGISTER_BYTES to the width of the registers in which it can count the bits of each byte (64, 32, 16, or 0
// for none). There is no include guard on purpose.

KERNEL inline int count(std::uint64_t bits) {
#if HAS_POPCOUNT
    return __builtin_popcountll(bits);
#else
    // Sums over 2, 4 and 8 bits in parallel; the product adds up the bytes.
    bits -= bits >> 1 & 0x5555555555555555;
    bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F;
    return static_cast<int>(bits * 0x0101010101010101 >> 56);
#endif
}

#if REGISTER_BYTES
using words [[gnu::vector_size(REGISTER_BYTES), gnu::may_alias]] = std::uint64_t;
using bytes [[gnu::vector_size(REGISTER_BYTES)]] = unsigned char;
#if REGISTER_BYTES == 16
/// Number of set bits in each byte.
KERNEL inline bytes byte_counts(words bits) {
    return reinterpret_cast<bytes>(vcntq_u8(reinterpret_cast<uint8x16_t>(bits)));
}

/// Sums of the bytes of each word.
KERNEL inline words sums_of(bytes counts) {
    return reinterpret_cast<words>(
        vpaddlq_u32(vpaddlq_u16(vpaddlq_u8(reinterpret_cast<uint8x16_t>(counts)))));
}
#else
#if REGISTER_BYTES == 64
using integers = __m512i;
#define WIDE(operation) _mm512_##operation
#else
using integers = __m256i;
#define WIDE(operation) _mm256_##operation
#endif

/// Number of set bits in each byte, by one look-up for each half of the byte.
KERNEL inline bytes byte_counts(words bits) {
    // Numbers of set bits in 0 to 7 and in 8 to 15.
    constexpr std::uint64_t TO_7 = 0x0302020102010100, TO_15 = 0x0403030203020201;
    words n_bits;
    for (unsigned i = 0; i < sizeof n_bits / WORD; ++i) n_bits[i] = i % 2 == 0 ? TO_7 : TO_15;
    const words low = 0x0F0F0F0F0F0F0F0F - words{};
    const auto look_up = [n_bits](words halves) KERNEL {
        return reinterpret_cast<bytes>(
            WIDE(shuffle_epi8)(reinterpret_cast<integers>(n_bits), reinterpret_cast<integers>(halves)));
    };
    return look_up(bits & low) + look_up(bits >> 4 & low);
}

/// Sums of the bytes of each word.
KERNEL inline words sums_of(bytes counts) {
    return reinterpret_cast<words>(WIDE(sad_epu8)(reinterpret_cast<integers>(counts), integers{}));
}
#undef WIDE
#endif
#endif

#if REGISTER_BYTES == 64
KERNEL int wide_distance(const unsigned char* a, const unsigned char* b, int n) {
    words sum{};
    for (int at = 0; at < n; at += CACHE_LINE) {
        const __mmask64 there = n - at < CACHE_LINE ? (std::uint64_t{1} << (n - at)) - 1 : ~std::uint64_t{0};
        const integers x = _mm512_maskz_loadu_epi8(there, a + at), y = _mm512_maskz_loadu_epi8(there, b + at);
        sum += sums_of(byte_counts(reinterpret_cast<words>(x ^ y)));
    }
    using half_words [[gnu::vector_size(32)]] = std::uint64_t;
    const half_words quarters =
        __builtin_shufflevector(sum, sum, 0, 1, 2, 3) + __builtin_shufflevector(sum, sum, 4, 5, 6, 7);
    return static_cast<int>(quarters[0] + quarters[1] + (quarters[2] + quarters[3]));
}
#endif

KERNEL int distance(const unsigned char* a, const unsigned char* b, int n) {
#if REGISTER_BYTES == 64
    if (n >= 2 * CACHE_LINE) return wide_distance(a, b, n);  // faster from two registers on
#endif
    int sum = 0, at = 0;
    for (; at + WORD <= n; at += WORD) sum += count(word_at(a + at) ^ word_at(b + at));
    if (at < n) sum += count(rest_at(a, at, n) ^ rest_at(b, at, n));
    return sum;
}

#if REGISTER_BYTES
/// Sums up eight distances. The counts of MOST_WORDS words fit in the bytes of `counts`; then fold must be
/// called.
struct eight_distances {
    KERNEL void add(const tile_line& line, std::uint64_t target, std::uint64_t counted) {
        for (int i = 0; i < PARTS; ++i)
            counts[i] += byte_counts((reinterpret_cast<const words*>(&line)[i] ^ target) & counted);
    }
    KERNEL void fold() {
        for (int i = 0; i < PARTS; ++i) {
            sums[i] += sums_of(counts[i]);
            counts[i] = bytes{};
        }
    }
    KERNEL void store(int* d) const {
        using ints [[gnu::vector_size(REGISTER_BYTES / 2)]] = int;
        for (int i = 0; i < PARTS; ++i) {
            const ints narrow = __builtin_convertvector(sums[i], ints);
            std::memcpy(d + i * (TILE / PARTS), &narrow, sizeof narrow);
        }
    }
    static constexpr int MOST_WORDS = 31, PARTS = CACHE_LINE / REGISTER_BYTES;
    bytes counts[PARTS] = {};
    words sums[PARTS] = {};
};
#else
struct eight_distances {
    KERNEL void add(const tile_line& line, std::uint64_t target, std::uint64_t counted) {
        for (int j = 0; j < TILE; ++j) sums[j] += count((line.words[j] ^ target) & counted);
    }
    KERNEL void fold() {}
    KERNEL void store(int* d) const { std::memcpy(d, sums, sizeof sums); }
    static constexpr int MOST_WORDS = 1 << 30;
    int sums[TILE] = {};
};
#endif

KERNEL void scan(const tile_line* lines, int stride, const int* tiles, int n_tiles,
                 const target_words* targets, int n_words, int* d0, int* d1) {
    constexpr int AHEAD = 3;  // tiles to prefetch ahead: the processor cannot predict where the next tile is
    for (int i = 0; i < n_tiles; ++i) {
        const tile_line* line = lines + static_cast<std::ptrdiff_t>(tiles[i]) * stride;
        const tile_line* later =
            lines + static_cast<std::ptrdiff_t>(tiles[std::min(i + AHEAD, n_tiles - 1)]) * stride;
        eight_distances to0, to1;
        for (int w = 0; w < n_words;) {
            for (const int end = std::min(w + eight_distances::MOST_WORDS, n_words); w < end; ++w) {
                __builtin_prefetch(later + w);
                to0.add(line[w], targets[w].t0, targets[w].counted);
                to1.add(line[w], targets[w].t1, targets[w].counted);
            }
            to0.fold();
            to1.fold();
        }
        to0.store(d0 + static_cast<std::ptrdiff_t>(tiles[i]) * TILE);
        to1.store(d1 + static_cast<std::ptrdiff_t>(tiles[i]) * TILE);
    }
}

KERNEL overlap_counts overlap(const unsigned char* c0, const unsigned char* c1, const unsigned char* h0,
                              const unsigned char* h1, int first, int last) {
    overlap_counts counts{0, 0, 0};
    const int last_byte = last >> 3;
    for (int byte = first >> 3; byte <= last_byte; byte += WORD) {
        const int n = last_byte + 1;
        const std::uint64_t a = bytes_at(h0, byte, n), b = bytes_at(h1, byte, n);
        const std::uint64_t match0 = ~(a ^ bytes_at(c0, byte, n));
        const std::uint64_t match1 = ~(b ^ bytes_at(c1, byte, n));
        const std::uint64_t counted = loci_between(8 * byte, first, last);
        counts.only0 += count(match0 & ~match1 & counted);
        counts.only1 += count(match1 & ~match0 & counted);
        // Where both match, the four alleles are equal if those of the targets are.
        counts.both += count(match0 & match1 & (a ^ b) & counted);
    }
    return counts;
}

KERNEL void unpack(const std::uint64_t* from, int byte, int n, unsigned char* alleles) {
    // The first row holds the packed bytes until all other rows are filled.
    for (int h = 0; h < n; ++h) alleles[h] = static_cast<unsigned char>(from[h] >> (8 * byte));
    for (int b = 1; b < 8; ++b) {
        unsigned char* row = alleles + static_cast<std::ptrdiff_t>(b) * n;
        for (int h = 0; h < n; ++h) row[h] = alleles[h] >> b & 1;
    }
    for (int h = 0; h < n; ++h) alleles[h] &= 1;
}

const kernel_set KERNELS = {NAME, is_available, distance, scan, overlap, unpack};
