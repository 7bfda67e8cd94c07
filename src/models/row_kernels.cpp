#include "models/row_kernels.h"

#include <algorithm>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace row_kernels {

#define KERNEL_BODY "models/row_kernels_body.h"
#include "models/kernel_sets_body.h"

}  // namespace row_kernels
