#pragma once

#include "models/haplotype_segment.h"

namespace bench {

/// Seconds that the kernels of the copying model alone would take for this work, at the speed that they have
/// here and now on columns of `K` rows that lie in the cache. Both passes count as running side by side.
double kernel_seconds(const model_work& work, int K);

}  // namespace bench
