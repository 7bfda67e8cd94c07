// Defines kernels() and available_kernels() of the namespace in which it is included, with the kernels of
// KERNEL_BODY once per instruction set. The kernels and this file are included once, so there is no guard.

namespace {

#if defined(__x86_64__)

namespace avx512 {
#define KERNEL __attribute__((target("avx512bw")))
#define NAME "AVX-512"
#define REGISTER_BYTES 64
bool is_available() {
    return __builtin_cpu_supports("avx512bw");
}
#include KERNEL_BODY
#undef KERNEL
#undef NAME
#undef REGISTER_BYTES
}  // namespace avx512

namespace avx2 {
#define KERNEL __attribute__((target("avx2")))
#define NAME "AVX2"
#define REGISTER_BYTES 32
bool is_available() {
    return __builtin_cpu_supports("avx2");
}
#include KERNEL_BODY
#undef KERNEL
#undef NAME
#undef REGISTER_BYTES
}  // namespace avx2

#endif

namespace baseline {
#define KERNEL
#define NAME "baseline"
#define REGISTER_BYTES 16
bool is_available() {
    return true;
}
#include KERNEL_BODY
#undef KERNEL
#undef NAME
#undef REGISTER_BYTES
}  // namespace baseline

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
