#include "objects/bit_kernels.h"

#if defined(__x86_64__)
#include <immintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace bit_kernels {

namespace {

constexpr int WORD = 8;         // bytes
constexpr int CACHE_LINE = 64;  // bytes

static_assert(std::endian::native == std::endian::little, "words are read with their first byte lowest");

std::uint64_t word_at(const unsigned char* bytes) {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/// The bytes from `at` to the end of an array of `n` bytes, which are fewer than a word: the last whole word
/// of the array, shifted down, if the array has one.
std::uint64_t rest_at(const unsigned char* bytes, int at, int n) {
    if (n >= WORD) return word_at(bytes + n - WORD) >> (8 * (at + WORD - n));
    std::uint64_t word = 0;
    for (int i = n - 1; i >= at; --i) word = word << 8 | bytes[i];
    return word;
}

/// The word that starts at byte `at` of an array of `n` bytes. Bytes past the end are 0.
std::uint64_t bytes_at(const unsigned char* bytes, int at, int n) {
    return at + WORD <= n ? word_at(bytes + at) : rest_at(bytes, at, n);
}

/// Bits of the word that starts at locus `start` whose loci are in [first, last].
std::uint64_t loci_between(int start, int first, int last) {
    std::uint64_t bits = ~std::uint64_t{0};
    if (first > start) bits &= bits << (first - start);
    if (last - start < 63) bits &= (std::uint64_t{1} << (last - start + 1)) - 1;
    return bits;
}

#if defined(__x86_64__)

namespace avx512 {
#define KERNEL __attribute__((target("avx512bw,popcnt")))
#define NAME "AVX-512"
#define HAS_POPCOUNT 1
#define REGISTER_BYTES 64
bool is_available() {
    return __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("popcnt");
}
#include "objects/bit_kernels_body.h"
#undef KERNEL
#undef NAME
#undef HAS_POPCOUNT
#undef REGISTER_BYTES
}  // namespace avx512

namespace avx2 {
#define KERNEL __attribute__((target("avx2,popcnt")))
#define NAME "AVX2"
#define HAS_POPCOUNT 1
#define REGISTER_BYTES 32
bool is_available() {
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt");
}
#include "objects/bit_kernels_body.h"
#undef KERNEL
#undef NAME
#undef HAS_POPCOUNT
#undef REGISTER_BYTES
}  // namespace avx2

namespace popcnt {
#define KERNEL __attribute__((target("popcnt")))
#define NAME "POPCNT"
#define HAS_POPCOUNT 1
#define REGISTER_BYTES 0
bool is_available() {
    return __builtin_cpu_supports("popcnt");
}
#include "objects/bit_kernels_body.h"
#undef KERNEL
#undef NAME
#undef HAS_POPCOUNT
#undef REGISTER_BYTES
}  // namespace popcnt

#elif defined(__aarch64__)

namespace neon {
#define KERNEL
#define NAME "NEON"
#define HAS_POPCOUNT 1
#define REGISTER_BYTES 16
bool is_available() {
    return true;  // every 64-bit ARM processor has it
}
#include "objects/bit_kernels_body.h"
#undef KERNEL
#undef NAME
#undef HAS_POPCOUNT
#undef REGISTER_BYTES
}  // namespace neon

#endif

namespace baseline {
#define KERNEL
#define NAME "baseline"
#define HAS_POPCOUNT 0
#define REGISTER_BYTES 0
bool is_available() {
    return true;
}
#include "objects/bit_kernels_body.h"
#undef KERNEL
#undef NAME
#undef HAS_POPCOUNT
#undef REGISTER_BYTES
}  // namespace baseline

}  // namespace

std::vector<const kernel_set*> available_kernels() {
    std::vector<const kernel_set*> sets;
#if defined(__x86_64__)
    for (const kernel_set* set : {&avx512::KERNELS, &avx2::KERNELS, &popcnt::KERNELS})
        if (set->is_available()) sets.push_back(set);
#elif defined(__aarch64__)
    sets.push_back(&neon::KERNELS);
#endif
    sets.push_back(&baseline::KERNELS);
    return sets;
}

const kernel_set& kernels() {
    static const kernel_set& fastest = *available_kernels().front();
    return fastest;
}

}  // namespace bit_kernels
