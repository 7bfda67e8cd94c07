#pragma once

#include <string>
#include <vector>

#include "models/haplotype_segment.h"

namespace bench {

/// One kernel at one number of candidates (on either side of a boundary): what a run asked of it, and the
/// time it takes here and now on columns that lie in the cache, both passes side by side.
struct kernel_time {
    std::string kernel;
    double values;  // column values, or products of pairs
    double ns_a_value;

    double seconds() const { return values * ns_a_value * 1e-9; }
};

/// The kernels that this work asks for, over columns of `K` rows.
std::vector<kernel_time> times_of_kernels(const model_work& work, int K);

}  // namespace bench
