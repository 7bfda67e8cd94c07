// The column steps of the copying model: inside a segment, both passes interleaved, across a boundary, and
// the pair sums at a boundary, with every kernel set that this machine supports. An item is one value of a
// column, or one product of a pair sum.
#include <list>
#include <random>

#include "comparison.h"
#include "models/column_kernels.h"
#include "models/column_kernels_plain.h"

namespace {

using namespace column_kernels;

/// A step from one column to another, for the reference implementation and for the kernels. Its input does
/// not change, so that calls can be repeated.
struct position {
    position(int n, int K, unsigned seed)
        : plain_step{K, 0.001 / K, 0.999, {}, {}}, plain_from(n, K), plain_to(n, K) {
        std::mt19937 random(seed);
        for (int k = 0; k < K; ++k) plain_step.alleles.push_back(random() % 3 == 0);
        for (int c = 0; c < n; ++c) {
            const bool second = random() % 2 == 0;
            plain_step.emission.push_back(second ? std::vector{0.9, 1.0} : std::vector{1.0, 0.9});
            for (int k = 0; k < K; ++k)
                plain_from.value[c * K + k] = 1.0 / static_cast<double>(1 + random() % 9);
            for (int k = 0; k < K; ++k) plain_from.sum[c] += plain_from.value[c * K + k];
        }
        from.resize(K);
        to.resize(K);
        for (int c = 0; c < n; ++c) {
            sums[c] = plain_from.sum[c];
            for (int allele = 0; allele < 2; ++allele) em[allele][c] = plain_step.emission[c][allele];
            for (int k = 0; k < K; ++k) from[k][c] = plain_from.value[c * K + k];
        }
        fast_step = {{from.data(), &sums, plain_step.tn, plain_step.nt, n},
                     &em,
                     plain_step.alleles.data(),
                     to.data(),
                     &sums_to};
    }

    bool same() const {
        for (int c = 0; c < plain_to.n_candidates(); ++c) {
            if (sums_to[c] != plain_to.sum[c]) return false;
            for (int k = 0; k < plain_step.K; ++k)
                if (to[k][c] != plain_to.value[c * plain_step.K + k]) return false;
        }
        return true;
    }

    plain::step plain_step;
    plain::column plain_from, plain_to;
    std::vector<lanes> from, to;
    lanes sums{}, sums_to{};
    emissions em{};
    column_kernels::step fast_step{};
};

std::list<position> positions;  // must outlive the registered benchmarks

position& at(int n, int K, unsigned seed) {
    return positions.emplace_back(n, K, seed);
}

void compare_steps(int n, int K) {
    const std::string size = std::to_string(n) + " candidates/K " + std::to_string(K);
    const double values = static_cast<double>(n) * K;
    position &p = at(n, K, 1), &q = at(n, K, 2);

    bench::comparison inside("inside/" + size, values,
                             [&p] { plain::inside(p.plain_step, p.plain_from, p.plain_to); });
    bench::comparison both("forward beside backward/" + size, 2 * values, [&p, &q] {
        plain::inside(p.plain_step, p.plain_from, p.plain_to);
        plain::inside(q.plain_step, q.plain_from, q.plain_to);
    });
    for (const kernel_set* set : available_kernels()) {
        plain::inside(p.plain_step, p.plain_from, p.plain_to);
        plain::inside(q.plain_step, q.plain_from, q.plain_to);
        set->inside_both(p.fast_step, q.fast_step, K);
        bench::expect(p.same() && q.same(), "inside_both");
        set->inside(p.fast_step, K);
        bench::expect(p.same(), "inside");
        inside.way(set->name, [&p, set, K] { set->inside(p.fast_step, K); });
        both.way(set->name, [&p, &q, set, K] { set->inside_both(p.fast_step, q.fast_step, K); });
    }
}

void compare_boundaries(int n, int K) {
    const std::string size = std::to_string(n) + " candidates/K " + std::to_string(K);
    position& p = at(n, K, 3);
    bench::comparison across("across/" + size, static_cast<double>(n) * K,
                             [&p] { plain::across(p.plain_step, p.plain_from, p.plain_to); });
    static std::vector<double> plain_pairs;
    static pair_matrix pairs;
    bench::comparison sums("pair sums/" + size, static_cast<double>(n) * n * K,
                           [&p] { plain::pair_sums(p.plain_step, p.plain_from, p.plain_from, plain_pairs); });
    for (const kernel_set* set : available_kernels()) {
        plain::across(p.plain_step, p.plain_from, p.plain_to);
        set->across(p.fast_step, K);
        bench::expect(p.same(), "across");
        plain::pair_sums(p.plain_step, p.plain_from, p.plain_from, plain_pairs);
        set->pair_sums(p.fast_step.from, p.from.data(), n, K, pairs);
        for (int c = 0; c < n; ++c)
            for (int d = 0; d < n; ++d) bench::expect(pairs[c][d] == plain_pairs[c * n + d], "pair_sums");
        across.way(set->name, [&p, set, K] { set->across(p.fast_step, K); });
        sums.way(set->name,
                 [&p, set, n, K] { set->pair_sums(p.fast_step.from, p.from.data(), n, K, pairs); });
    }
}

}  // namespace

int main(int argc, char** argv) {
    for (const int K : {100, 400})
        for (const int n : {4, 8}) {
            compare_steps(n, K);
            compare_boundaries(n, K);
        }
    return bench::run(argc, argv);
}
