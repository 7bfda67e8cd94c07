#pragma once

#include <cstddef>
#include <vector>

/// Scalar reference implementation of the column kernels, one candidate after another. Tests check that both
/// give the same bits, benchmarks compare their speed.
namespace column_kernels::plain {

/// The value of candidate c and conditioning haplotype k is at [c * K + k].
struct column {
    column() = default;
    column(int n_candidates, int K) : value(static_cast<std::size_t>(n_candidates) * K), sum(n_candidates) {}

    int n_candidates() const { return static_cast<int>(sum.size()); }

    std::vector<double> value;
    std::vector<double> sum;  // of each candidate, over k in ascending order
};

struct step {
    int K;
    double tn, nt;
    std::vector<unsigned char> alleles;         // of the conditioning haplotypes
    std::vector<std::vector<double>> emission;  // of each candidate, for conditioning allele 0 and 1
};

/// Fills `to` with before(c, k) * emission.
template <class Before>
void fill(const step& s, column& to, Before before) {
    for (int c = 0; c < to.n_candidates(); ++c) {
        const double* emission = s.emission[c].data();
        double* value = to.value.data() + static_cast<std::ptrdiff_t>(c) * s.K;
        double sum = 0.0;
        for (int k = 0; k < s.K; ++k) {
            value[k] = before(c, k) * emission[s.alleles[k]];
            sum += value[k];
        }
        to.sum[c] = sum;
    }
}

inline void start(const step& s, column& to) {
    fill(s, to, [](int, int) { return 1.0; });
}

/// `to` may be `from`.
inline void inside(const step& s, const column& from, column& to) {
    fill(s, to, [&](int c, int k) {
        return from.sum[c] * s.tn + s.nt * from.value[static_cast<std::ptrdiff_t>(c) * s.K + k];
    });
}

inline void across(const step& s, const column& from, column& to) {
    fill(s, to, [&](int, int k) {
        double before = 0.0;
        for (int d = 0; d < from.n_candidates(); ++d)
            before += from.sum[d] * s.tn + s.nt * from.value[static_cast<std::ptrdiff_t>(d) * s.K + k];
        return before;
    });
}

/// Mass between each left candidate c and right candidate d, at [c * number of right candidates + d].
inline void pair_sums(const step& s, const column& left, const column& right, std::vector<double>& pairs) {
    pairs.clear();
    for (int c = 0; c < left.n_candidates(); ++c)
        for (int d = 0; d < right.n_candidates(); ++d) {
            const double* from = left.value.data() + static_cast<std::ptrdiff_t>(c) * s.K;
            const double* to = right.value.data() + static_cast<std::ptrdiff_t>(d) * s.K;
            double sum = 0.0;
            for (int k = 0; k < s.K; ++k) sum += (left.sum[c] * s.tn + s.nt * from[k]) * to[k];
            pairs.push_back(sum);
        }
}

}  // namespace column_kernels::plain
