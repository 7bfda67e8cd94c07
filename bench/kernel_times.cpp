#include "kernel_times.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <vector>

namespace bench {

namespace {

using namespace column_kernels;

/// Time of one call, in seconds: the median of several rounds of calls.
template <class Call>
double seconds_of(Call call) {
    constexpr int ROUNDS = 9, CALLS = 2000;
    std::array<double, ROUNDS> rounds;
    for (double& seconds : rounds) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < CALLS; ++i) call();
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        seconds = passed.count() / CALLS;
    }
    std::nth_element(rounds.begin(), rounds.begin() + ROUNDS / 2, rounds.end());
    return rounds[ROUNDS / 2];
}

lanes filled(double value) {
    lanes row;
    std::fill_n(row.value, LANES, value);
    return row;
}

/// Two passes whose columns are replaced step after step and keep their values in range.
struct passes {
    passes(int n_states, int n_candidates)
        : K(n_states),
          forward(K, filled(1.0)),
          backward(K, filled(1.0)),
          alleles(K),
          em{filled(1.0), filled(1.0)} {
        for (int k = 0; k < K; ++k) alleles[k] = static_cast<unsigned char>(k * 7 % 3 == 0);
        const double tn = 0.001 / K;
        s = {{forward.data(), &from_sums, tn, 0.999, n_candidates},
             &em,
             alleles.data(),
             forward.data(),
             &sums_s};
        t = {{backward.data(), &from_sums, tn, 0.999, n_candidates},
             &em,
             alleles.data(),
             backward.data(),
             &sums_t};
    }

    int K;
    std::vector<lanes> forward, backward;
    std::vector<unsigned char> alleles;
    emissions em;
    lanes from_sums = filled(K);
    lanes sums_s, sums_t;
    step s, t;
};

double seconds_a_row(int K, int n_candidates) {
    const passes p(K, n_candidates);
    return seconds_of([&] { kernels().inside_both(p.s, p.t, K); }) / (2 * K);
}

double seconds_a_row_across(int K, int n_candidates) {
    const passes p(K, n_candidates);
    return seconds_of([&] { kernels().across(p.s, K); }) / K;
}

double seconds_a_pair_row(int K, int n_left, int n_right) {
    const passes p(K, n_left);
    pair_matrix pairs;
    return seconds_of([&] { kernels().pair_sums(p.s.from, p.backward.data(), n_right, K, pairs); }) / K;
}

}  // namespace

std::vector<kernel_time> times_of_kernels(const model_work& work, int K) {
    std::vector<kernel_time> times;
    const auto add = [&times](const std::string& kernel, long rows, long values, double seconds_a_row) {
        const auto n = static_cast<double>(values);
        times.push_back({kernel, n, static_cast<double>(rows) * seconds_a_row * 1e9 / n});
    };
    for (int c = 1; c <= LANES; ++c) {
        // Each pass goes once across a boundary; all its other steps are inside.
        long rows_across = 0, values_across = 0;
        for (int d = 1; d <= LANES; ++d) {
            const long rows = work.pair_rows[c][d] + work.pair_rows[d][c];
            rows_across += rows;
            values_across += d * rows;
        }
        const long rows_inside = work.rows[c] - rows_across;
        if (rows_inside > 0)
            add("inside " + std::to_string(c), rows_inside, c * rows_inside, seconds_a_row(K, c));
        if (rows_across > 0)
            add("across from " + std::to_string(c), rows_across, values_across, seconds_a_row_across(K, c));
    }
    for (int c = 1; c <= LANES; ++c)
        for (int d = 1; d <= LANES; ++d)
            if (const long rows = work.pair_rows[c][d]; rows > 0)
                add("pairs " + std::to_string(c) + " x " + std::to_string(d), rows, c * d * rows,
                    seconds_a_pair_row(K, c, d));
    return times;
}

}  // namespace bench
