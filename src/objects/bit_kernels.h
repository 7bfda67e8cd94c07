#pragma once

#include <vector>

class chaplotype;

/// The inner loops over packed haplotypes: Hamming distances and overlaps of matches, 64 loci at a time.
namespace bit_kernels {

/// Numbers of loci of one kind; see kernel_set::overlap.
struct overlap_counts {
    int only0;  // c0 matches h0, and c1 doesn't match h1
    int only1;  // the reverse
    int both;   // both match, and not all four are alike
};

/// The kernels of one instruction set. All sets give the same numbers.
struct kernel_set {
    const char* name;
    bool (*is_available)();

    /// Number of bits in which `n` bytes differ.
    int (*distance)(const unsigned char* a, const unsigned char* b, int n);
    /// Distances of many haplotypes to two targets over `n` bytes from byte `first` on: d0[i] and d1[i] for
    /// haplotype H[list[i]], or H[i] when `list` is null. `t0` and `t1` point to the targets' byte `first`.
    void (*scan)(const chaplotype* H, const int* list, int n_haplotypes, int first, int n,
                 const unsigned char* t0, const unsigned char* t1, int* d0, int* d1);
    /// Compares c0 with h0 and c1 with h1 at the loci `first` to `last`, both inclusive.
    overlap_counts (*overlap)(const chaplotype& c0, const chaplotype& c1, const chaplotype& h0,
                              const chaplotype& h1, int first, int last);
};

/// The fastest set that this machine has.
const kernel_set& kernels();
/// All sets that this machine has, the fastest first.
std::vector<const kernel_set*> available_kernels();

}  // namespace bit_kernels
