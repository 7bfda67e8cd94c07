#include "kernel_times.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <random>
#include <vector>

namespace bench {

namespace {

using namespace column_kernels;

/// Time of one call, in seconds: the median over several rounds of calls. Calls are numbered from 0.
template <class Call>
double seconds_of(Call call) {
    constexpr int ROUNDS = 9, CALLS = 2000;
    std::array<double, ROUNDS> rounds;
    for (double& seconds : rounds) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < CALLS; ++i) call(i);
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

/// Both passes over a window as in a run: each locus has its own alleles and emissions, each step continues
/// from the sums of the previous one, and the columns at boundaries are stored separately. All emissions are
/// `emission`, so that values stay in range.
class window {
  public:
    window(int n_states, int n_candidates, double emission = 1.0)
        : K(n_states),
          alpha(BOUNDARIES * K, filled(1.0)),
          beta(alpha),
          forward(K, filled(1.0)),
          backward(forward),
          em(256, {filled(emission), filled(emission)}),
          alleles(LOCI * K) {
        std::mt19937 random(1);
        for (unsigned char& allele : alleles) allele = random() % 4 == 0;
        for (const emissions*& at : em_at) at = &em[random() % em.size()];
        const double tn = 0.001 / K;
        ahead = {{forward.data(), &sums, tn, 0.999, n_candidates}, nullptr, nullptr, forward.data(), &sums};
        back = {{backward.data(), &sums_back, tn, 0.999, n_candidates},
                nullptr,
                nullptr,
                backward.data(),
                &sums_back};
    }

    void inside_both(int i) {
        go_to(ahead, i % LOCI);
        go_to(back, LOCI - 1 - i % LOCI);
        kernels().inside_both(ahead, back, K);
    }
    void across(int i) {
        go_to(ahead, i % LOCI);
        kernels().across(ahead, K);
    }
    void pair_sums(int i, int n_right) {
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(i % BOUNDARIES) * K;
        const flow left{&alpha[at], &sums, ahead.from.tn, ahead.from.nt, ahead.from.n_candidates};
        kernels().pair_sums(left, &beta[at], n_right, K, pairs);
    }

  private:
    static constexpr int LOCI = 500, BOUNDARIES = 60;

    void go_to(step& s, int locus) {
        s.em = em_at[locus];
        s.alleles = &alleles[static_cast<std::ptrdiff_t>(locus) * K];
    }

    int K;
    std::vector<lanes> alpha, beta, forward, backward;
    std::vector<emissions> em;
    std::array<const emissions*, LOCI> em_at{};
    std::vector<unsigned char> alleles;
    lanes sums = filled(K), sums_back = filled(K);
    step ahead{}, back{};
    pair_matrix pairs{};
};

double seconds_a_row(int K, int n_candidates) {
    window w(K, n_candidates);
    return seconds_of([&](int i) { w.inside_both(i); }) / (2 * K);
}

double seconds_a_row_across(int K, int n_candidates) {
    window w(K, n_candidates, 1.0 / n_candidates);
    return seconds_of([&](int i) { w.across(i); }) / K;
}

double seconds_a_pair_row(int K, int n_left, int n_right) {
    window w(K, n_left);
    return seconds_of([&](int i) { w.pair_sums(i, n_right); }) / K;
}

}  // namespace

kernel_speed kernel_speed::now(int K) {
    kernel_speed speed;
    for (int c = 1; c <= LANES; ++c) {
        speed.inside[c] = seconds_a_row(K, c);
        speed.across[c] = seconds_a_row_across(K, c);
        for (int d = 1; d <= LANES; ++d) speed.pairs[c][d] = seconds_a_pair_row(K, c, d);
    }
    return speed;
}

kernel_speed kernel_speed::between(const kernel_speed& a, const kernel_speed& b) {
    kernel_speed mean;
    for (int c = 1; c <= LANES; ++c) {
        mean.inside[c] = (a.inside[c] + b.inside[c]) / 2;
        mean.across[c] = (a.across[c] + b.across[c]) / 2;
        for (int d = 1; d <= LANES; ++d) mean.pairs[c][d] = (a.pairs[c][d] + b.pairs[c][d]) / 2;
    }
    return mean;
}

std::vector<kernel_time> times_of_kernels(const model_work& work, const kernel_speed& speed) {
    std::vector<kernel_time> times;
    const auto add = [&times](const std::string& kernel, long rows, long values, double seconds_a_row) {
        const auto n = static_cast<double>(values);
        if (rows > 0) times.push_back({kernel, n, static_cast<double>(rows) * seconds_a_row * 1e9 / n});
    };
    for (int c = 1; c <= LANES; ++c) {
        // Each pass crosses each boundary once; all its other steps are inside segments.
        long rows_across = 0, values_across = 0;
        for (int d = 1; d <= LANES; ++d) {
            const long rows = work.pair_rows[c][d] + work.pair_rows[d][c];
            rows_across += rows;
            values_across += d * rows;
        }
        const long rows_inside = work.rows[c] - rows_across;
        add("inside " + std::to_string(c), rows_inside, c * rows_inside, speed.inside[c]);
        add("across from " + std::to_string(c), rows_across, values_across, speed.across[c]);
    }
    for (int c = 1; c <= LANES; ++c)
        for (int d = 1; d <= LANES; ++d) {
            const long rows = work.pair_rows[c][d];
            add("pairs " + std::to_string(c) + " x " + std::to_string(d), rows, c * d * rows,
                speed.pairs[c][d]);
        }
    return times;
}

}  // namespace bench
