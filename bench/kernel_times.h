#pragma once

#include <array>
#include <string>
#include <vector>

#include "models/haplotype_segment.h"

namespace bench {

/// Seconds that each kernel takes for a row, at each number of candidates (on either side of a boundary),
/// both passes side by side over a window of loci with `K` conditioning haplotypes.
struct kernel_speed {
    using by_candidates = std::array<double, column_kernels::LANES + 1>;
    by_candidates inside{}, across{};
    std::array<by_candidates, column_kernels::LANES + 1> pairs{};

    /// Measures for a second.
    static kernel_speed now(int K);
    static kernel_speed between(const kernel_speed& a, const kernel_speed& b);
};

/// One kernel at one number of candidates: what a run asked of it, and the time it takes.
struct kernel_time {
    std::string kernel;
    double values;  // column values, or products of pairs
    double ns_a_value;

    double seconds() const { return values * ns_a_value * 1e-9; }
};

/// The kernels that this work asks for.
std::vector<kernel_time> times_of_kernels(const model_work& work, const kernel_speed& speed);

}  // namespace bench
