#include "models/column_kernels.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace column_kernels {

namespace {

/// Local copies of the pointers of a step. The compiler can keep them in registers, since no store in a loop
/// can change them.
struct step_arrays {
    explicit step_arrays(const step& s)
        : from(s.from.column), em(s.em->data()), alleles(s.alleles), column(s.column) {}

    const lanes* from;
    const lanes* em;
    const unsigned char* alleles;
    lanes* column;
};

}  // namespace

#define KERNEL_BODY "models/column_kernels_body.h"
#include "models/kernel_sets_body.h"

}  // namespace column_kernels
