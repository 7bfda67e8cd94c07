#include "models/column_kernels.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace column_kernels {

namespace {

/// A row in registers: the compiler cuts it into what the instruction set has, be it one register or four.
using row [[gnu::vector_size(64), gnu::may_alias]] = double;

/// A step's arrays in local variables, which the compiler knows to be safe from a loop's stores.
struct step_arrays {
    explicit step_arrays(const step& s)
        : from(s.from.column), em(s.em->data()), alleles(s.alleles), column(s.column) {}

    const lanes* from;
    const lanes* em;
    const unsigned char* alleles;
    lanes* column;
};

// Macros, since a function compiled for one instruction set can't be inlined into one for another.
#define load(from) (*reinterpret_cast<const row*>(&(from)))
#define store(to, what) (*reinterpret_cast<row*>(&(to)) = (what))

#if defined(__x86_64__)

namespace avx512 {
#define KERNEL __attribute__((target("avx512f")))
#define NAME "AVX-512"
bool is_available() {
    return __builtin_cpu_supports("avx512f");
}
#include "models/column_kernels_body.h"
#undef KERNEL
#undef NAME
}  // namespace avx512

namespace avx2 {
#define KERNEL __attribute__((target("avx2")))
#define NAME "AVX2"
bool is_available() {
    return __builtin_cpu_supports("avx2");
}
#include "models/column_kernels_body.h"
#undef KERNEL
#undef NAME
}  // namespace avx2

#endif

namespace baseline {
#define KERNEL
#define NAME "baseline"
bool is_available() {
    return true;
}
#include "models/column_kernels_body.h"
#undef KERNEL
#undef NAME
}  // namespace baseline

#undef load
#undef store

/// Turns an 8 x 8 matrix of bits, row r being byte r, so that bit b of byte r becomes bit r of byte b
/// (Warren 2002).
std::uint64_t transpose_bits(std::uint64_t x) {
    std::uint64_t t = (x ^ (x >> 7)) & 0x00AA00AA00AA00AAU;
    x ^= t ^ (t << 7);
    t = (x ^ (x >> 14)) & 0x0000CCCC0000CCCCU;
    x ^= t ^ (t << 14);
    t = (x ^ (x >> 28)) & 0x00000000F0F0F0F0U;
    return x ^ t ^ (t << 28);
}

/// Spreads eight bits over the lowest bits of eight bytes.
std::uint64_t spread_bits(std::uint64_t bits) {
    return ((bits * 0x0101010101010101U & 0x8040201008040201U) + 0x7F7F7F7F7F7F7F7FU) >> 7 &
           0x0101010101010101U;
}

}  // namespace

std::vector<const kernel_set*> available_kernels() {
    std::vector<const kernel_set*> sets;
#if defined(__x86_64__)
    for (const kernel_set* set : {&avx512::KERNELS, &avx2::KERNELS})
        if (set->is_available()) sets.push_back(set);
#endif
    sets.push_back(&baseline::KERNELS);
    return sets;
}

const kernel_set& kernels() {
    static const kernel_set& fastest = *available_kernels().front();
    return fastest;
}

void unpack_alleles(const unsigned char* bytes, int K, unsigned char* alleles) {
    int k = 0;
    if constexpr (std::endian::native == std::endian::little)
        for (; k + 8 <= K; k += 8) {
            std::uint64_t x;
            std::memcpy(&x, bytes + k, sizeof x);
            x = transpose_bits(x);
            for (int b = 0; b < 8; ++b) {
                const std::uint64_t spread = spread_bits(x >> (8 * b) & 0xFF);
                std::memcpy(alleles + b * K + k, &spread, sizeof spread);
            }
        }
    for (; k < K; ++k)
        for (int b = 0; b < 8; ++b) alleles[b * K + k] = bytes[k] >> b & 1;
}

}  // namespace column_kernels
