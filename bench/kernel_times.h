#pragma once

#include <array>
#include <string>
#include <vector>

#include "models/haplotype_segment.h"

namespace bench {

/// Seconds that each kernel takes per row, for each number of candidates (on either side of a boundary), with
/// both passes interleaved over a window of loci and `K` conditioning haplotypes.
struct kernel_speed {
    using by_candidates = std::array<double, column_kernels::LANES + 1>;
    by_candidates inside{}, across{};
    std::array<by_candidates, column_kernels::LANES + 1> pairs{};

    /// Measures the speed now; takes a second.
    static kernel_speed now(int K);
    static kernel_speed between(const kernel_speed& a, const kernel_speed& b);
};

/// One kernel with one number of candidates: the work of a run, and its time.
struct kernel_time {
    std::string kernel;
    double values;  // column values, or products of pairs
    double ns_a_value;

    double seconds() const { return values * ns_a_value * 1e-9; }
};

/// The kernels that this work uses.
std::vector<kernel_time> times_of_kernels(const model_work& work, const kernel_speed& speed);

}  // namespace bench
