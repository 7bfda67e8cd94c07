// Steps of the copying model in single precision: a run of loci inside a segment, alone and beside that of
// the other pass, and the products of rows at a boundary, with every kernel set that this machine supports.
// An item is one value of a column, or one product.
#include <algorithm>
#include <list>
#include <random>
#include <span>

#include "comparison.h"
#include "models/row_kernels.h"
#include "models/row_kernels_plain.h"

namespace {

using namespace row_kernels;

constexpr int N_STEPS = 32;

/// The same loci for the reference implementation and in the memory layout of the kernels.
struct stretch {
    stretch(int n_rows, int K, unsigned seed)
        : rows(static_cast<std::size_t>(MOST_ROWS) * n_blocks(K)),
          alleles(static_cast<std::size_t>(N_STEPS + 1) * n_blocks(K)),
          row_alleles(N_STEPS + 1),
          jumps(N_STEPS, 0.001F),
          before(n_blocks(K)) {
        std::mt19937 random(seed);
        for (int l = 0; l <= N_STEPS; ++l) {
            plain::step s{{}, {}, 0.001F, jumps[0]};
            for (int k = 0; k < K; ++k) {
                s.alleles.push_back(random() % 3 == 0 ? 1 : 0);
                alleles[static_cast<std::size_t>(l) * n_blocks(K) + k / BLOCK] |=
                    static_cast<allele_block>(s.alleles[k] << (k % BLOCK));
            }
            for (int c = 0; c < n_rows; ++c) {
                s.candidates.push_back(random() % 3 == 0 ? 1 : 0);
                row_alleles[l] |= static_cast<unsigned char>(s.candidates[c] << c);
            }
            steps.push_back(std::move(s));
        }
        plain_before.assign(K, 1.0F / static_cast<float>(K));
        std::ranges::copy(plain_before, before.front().value);
    }

    plain::column plain_result() const {
        plain::column column = plain::spread(steps[0], plain_before);
        for (int l = 1; l <= N_STEPS; ++l) plain::inside(steps[l], column);
        return column;
    }
    /// The run at its first locus.
    inside_run start(const kernel_set& kernel) {
        inside_run run{.rows = rows.front().value,
                       .scales = &scales,
                       .n_rows = static_cast<int>(steps[0].candidates.size()),
                       .K = static_cast<int>(plain_before.size()),
                       .alleles = alleles.data(),
                       .row_alleles = row_alleles.data(),
                       .jumps = jumps.data(),
                       .locus = 0,
                       .direction = 1,
                       .mismatch = 0.001F};
        kernel.spread(run, before.front().value);
        return run;
    }
    bool is(const plain::column& expected) const {
        for (std::size_t c = 0; c < expected.row.size(); ++c)
            if (!std::ranges::equal(expected.row[c],
                                    std::span(rows[c * before.size()].value, plain_before.size())))
                return false;
        return true;
    }

    std::vector<plain::step> steps;
    std::vector<float> plain_before;
    std::vector<value_block> rows;
    row_scales scales{};
    std::vector<allele_block> alleles;
    std::vector<unsigned char> row_alleles;
    std::vector<float> jumps;
    std::vector<value_block> before;
};

std::list<stretch> stretches;  // must outlive the registered benchmarks

void run_alone(const kernel_set& kernel, stretch& s) {
    inside_run run = s.start(kernel);
    inside_run* runs[] = {&run};
    kernel.inside(runs, 1, N_STEPS);
}

void run_both(const kernel_set& kernel, stretch& s, stretch& t) {
    inside_run run = s.start(kernel), other = t.start(kernel);
    inside_run* runs[] = {&run, &other};
    kernel.inside(runs, 2, N_STEPS);
}

void compare_steps(int n_rows, int K) {
    const std::string size = std::to_string(n_rows) + " rows/K " + std::to_string(K);
    const double values = static_cast<double>(n_rows) * K * (N_STEPS + 1);
    stretch &s = stretches.emplace_back(n_rows, K, 1), &t = stretches.emplace_back(n_rows, K, 2);
    bench::comparison alone("inside/" + size, values,
                            [&s] { benchmark::DoNotOptimize(s.plain_result().sum[0]); });
    bench::comparison both("forward beside backward/" + size, 2 * values, [&s, &t] {
        benchmark::DoNotOptimize(s.plain_result().sum[0]);
        benchmark::DoNotOptimize(t.plain_result().sum[0]);
    });
    for (const kernel_set* set : available_kernels()) {
        run_alone(*set, s);
        bench::expect(s.is(s.plain_result()), "inside");
        run_both(*set, s, t);
        bench::expect(s.is(s.plain_result()) && t.is(t.plain_result()), "inside, two runs");
        alone.way(set->name, [&s, set] { run_alone(*set, s); });
        both.way(set->name, [&s, &t, set] { run_both(*set, s, t); });
    }
}

void compare_products(int n_rows, int K) {
    stretch& s = stretches.emplace_back(n_rows, K, 3);
    const plain::column column = s.plain_result();
    const auto plain_products = [column] {
        float sum = 0.0F;
        for (const std::vector<float>& left : column.row)
            for (const std::vector<float>& right : column.row) sum += plain::product(left, right);
        benchmark::DoNotOptimize(sum);
    };
    bench::comparison products("products/" + std::to_string(n_rows) + " rows/K " + std::to_string(K),
                               static_cast<double>(n_rows) * n_rows * K, plain_products);
    for (const kernel_set* set : available_kernels()) {
        run_alone(*set, s);
        static row_products found;
        set->products(n_rows, n_rows, K, s.rows.front().value, s.rows.front().value, found);
        for (int c = 0; c < n_rows; ++c)
            for (int d = 0; d < n_rows; ++d)
                bench::expect(found[c][d] == plain::product(column.row[c], column.row[d]), "products");
        products.way(set->name, [&s, set, n_rows, K] {
            set->products(n_rows, n_rows, K, s.rows.front().value, s.rows.front().value, found);
        });
    }
}

}  // namespace

int main(int argc, char** argv) {
    for (const int n_rows : {1, 2, 4, 8})
        for (const int K : {50, 200}) compare_steps(n_rows, K);
    for (const int n_rows : {4, 8}) compare_products(n_rows, 200);
    return bench::run(argc, argv);
}
