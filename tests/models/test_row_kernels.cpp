#include "models/row_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <random>

#include "models/row_kernels_plain.h"

namespace {

using row_kernels::BLOCK;
using row_kernels::MOST_ROWS;
using row_kernels::n_blocks;
using row_kernels::value_block;

const int SIZES[] = {1, 2, 15, 16, 17, 33, 100, 150, 400};

float random_value(std::mt19937& random) {
    return static_cast<float>(random() % 100000 + 1) / 100003.0F;
}

row_kernels::plain::step random_step(int n_candidates, int K, std::mt19937& random) {
    row_kernels::plain::step s;
    for (int k = 0; k < K; ++k) s.alleles.push_back(static_cast<int>(random() % 2));
    for (int c = 0; c < n_candidates; ++c) s.candidates.push_back(static_cast<int>(random() % 2));
    s.mismatch = 1e-4F;
    s.jump = random() % 4 == 0 ? 1e-7F : random_value(random) * 0.3F;
    return s;
}

/// A column in the memory layout of the kernels, and the loci of a run.
class run_in_memory {
  public:
    run_in_memory(const std::vector<row_kernels::plain::step>& steps, int K, int direction)
        : rows(static_cast<std::size_t>(MOST_ROWS) * n_blocks(K)),
          alleles(steps.size() * n_blocks(K), 0),
          candidates(steps.size(), 0),
          jumps(steps.size(), 0.0F) {
        const std::size_t n = steps.size();
        const std::size_t blocks = n_blocks(K);
        for (std::size_t i = 0; i < n; ++i) {
            const std::size_t locus = direction > 0 ? i : n - 1 - i;
            for (int k = 0; k < K; ++k)
                alleles[locus * blocks + k / BLOCK] |=
                    static_cast<row_kernels::allele_block>(steps[i].alleles[k] << (k % BLOCK));
            for (std::size_t c = 0; c < steps[i].candidates.size(); ++c)
                candidates[locus] |= static_cast<unsigned char>(steps[i].candidates[c] << c);
            if (i > 0) jumps[direction > 0 ? locus - 1 : locus] = steps[i].jump;
        }
        const std::size_t first = direction > 0 ? 0 : n - 1;
        run = {.rows = rows.front().value,
               .scales = &scales,
               .n_rows = static_cast<int>(steps[0].candidates.size()),
               .K = K,
               .alleles = alleles.data() + first * blocks,
               .row_alleles = candidates.data() + first,
               .jumps = jumps.data(),
               .locus = static_cast<int>(first),
               .direction = direction,
               .mismatch = steps[0].mismatch};
    }
    run_in_memory(const run_in_memory&) = delete;
    run_in_memory& operator=(const run_in_memory&) = delete;

    row_kernels::inside_run run{};

    void expect_equal(const row_kernels::plain::column& expected) const {
        const int K = run.K;
        for (std::size_t c = 0; c < expected.row.size(); ++c) {
            const float* row = rows[c * n_blocks(K)].value;
            ASSERT_TRUE(std::equal(expected.row[c].begin(), expected.row[c].end(), row)) << "row " << c;
            for (int k = K; k < BLOCK * n_blocks(K); ++k)
                ASSERT_EQ(row[k], 0.0F) << "behind the last haplotype";
            ASSERT_EQ(scales.sum[c], expected.sum[c]) << "row " << c;
            ASSERT_EQ(scales.exponent[c], expected.exponent[c]);
        }
    }

  private:
    std::vector<value_block> rows;
    row_kernels::row_scales scales{};
    std::vector<row_kernels::allele_block> alleles;
    std::vector<unsigned char> candidates;
    std::vector<float> jumps;
};

std::vector<value_block> in_blocks(const std::vector<float>& values) {
    std::vector<value_block> blocks(n_blocks(static_cast<int>(values.size())));
    for (std::size_t k = 0; k < values.size(); ++k) blocks[k / BLOCK].value[k % BLOCK] = values[k];
    return blocks;
}

class row_kernel_sets : public ::testing::TestWithParam<const row_kernels::kernel_set*> {
  protected:
    const row_kernels::kernel_set& kernel = *GetParam();
    std::mt19937 random{11};

    std::vector<float> random_values(int n) {
        std::vector<float> values;
        for (int i = 0; i < n; ++i) values.push_back(random_value(random));
        return values;
    }
};

TEST_P(row_kernel_sets, StepsGiveTheBitsOfThePlainLoops) {
    constexpr int N_STEPS = 40;
    for (const int K : SIZES)
        for (int n_candidates = 1; n_candidates <= MOST_ROWS; ++n_candidates)
            for (const int direction : {1, -1}) {
                SCOPED_TRACE(std::to_string(K) + " haplotypes, " + std::to_string(n_candidates) +
                             " candidates");
                std::vector<row_kernels::plain::step> steps;
                for (int i = 0; i <= N_STEPS; ++i) steps.push_back(random_step(n_candidates, K, random));
                const std::vector<float> before = random_values(K);
                row_kernels::plain::column expected = row_kernels::plain::spread(steps[0], before);
                run_in_memory memory(steps, K, direction);
                kernel.spread(memory.run, in_blocks(before).front().value);
                memory.expect_equal(expected);
                for (int i = 1; i <= N_STEPS; ++i) row_kernels::plain::inside(steps[i], expected);
                row_kernels::inside_run* runs[] = {&memory.run};
                kernel.inside(runs, 1, N_STEPS);
                memory.expect_equal(expected);
            }
}

TEST_P(row_kernel_sets, RunsSideBySideAreIndependent) {
    constexpr int N_STEPS = 7, K = 37;
    for (int n0 = 1; n0 <= MOST_ROWS; ++n0)
        for (int n1 = 1; n1 <= MOST_ROWS; ++n1) {
            std::vector<row_kernels::plain::step> steps0, steps1;
            for (int i = 0; i <= N_STEPS; ++i) {
                steps0.push_back(random_step(n0, K, random));
                steps1.push_back(random_step(n1, 2 * K, random));
            }
            const std::vector<float> before = random_values(2 * K);
            const std::vector<float> half(before.begin(), before.begin() + K);
            row_kernels::plain::column expected0 = row_kernels::plain::spread(steps0[0], half);
            row_kernels::plain::column expected1 = row_kernels::plain::spread(steps1[0], before);
            run_in_memory memory0(steps0, K, 1), memory1(steps1, 2 * K, -1);
            kernel.spread(memory0.run, in_blocks(half).front().value);
            kernel.spread(memory1.run, in_blocks(before).front().value);
            for (int i = 1; i <= N_STEPS; ++i) {
                row_kernels::plain::inside(steps0[i], expected0);
                row_kernels::plain::inside(steps1[i], expected1);
            }
            row_kernels::inside_run* runs[] = {&memory0.run, &memory1.run};
            kernel.inside(runs, 2, N_STEPS);
            memory0.expect_equal(expected0);
            memory1.expect_equal(expected1);
        }
}

TEST_P(row_kernel_sets, CollapseAndProductsGiveTheBitsOfThePlainLoops) {
    for (const int K : SIZES)
        for (int n_left = 1; n_left <= MOST_ROWS; ++n_left)
            for (int n_right = 1; n_right <= MOST_ROWS; ++n_right) {
                const std::size_t blocks = n_blocks(K);
                row_kernels::plain::column left, right;
                std::vector<value_block> left_rows(MOST_ROWS * blocks), right_rows(MOST_ROWS * blocks);
                const auto fill = [&](int n, row_kernels::plain::column& column,
                                      std::vector<value_block>& rows) {
                    for (int c = 0; c < n; ++c) {
                        column.row.push_back(random_values(K));
                        std::ranges::copy(in_blocks(column.row.back()),
                                          rows.begin() + static_cast<long>(c * blocks));
                    }
                };
                fill(n_left, left, left_rows);
                fill(n_right, right, right_rows);

                std::array<float, MOST_ROWS> weight{};
                for (float& w : weight) w = random_value(random);
                std::vector<value_block> out(blocks);
                kernel.collapse(n_left, K, left_rows.front().value, weight, 0.25F, out.front().value);
                const std::vector<float> collapsed =
                    row_kernels::plain::collapse(left, {weight.begin(), weight.end()}, 0.25F);
                for (int k = 0; k < K; ++k) ASSERT_EQ(out[k / BLOCK].value[k % BLOCK], collapsed[k]);

                row_kernels::row_products products{};
                kernel.products(n_left, n_right, K, left_rows.front().value, right_rows.front().value,
                                products);
                for (int c = 0; c < n_left; ++c)
                    for (int d = 0; d < n_right; ++d)
                        ASSERT_EQ(products[c][d], row_kernels::plain::product(left.row[c], right.row[d]));
            }
}

// A thousand loci at which no haplotype has the allele of the candidate: values would underflow within ten
// loci without the scales.
TEST_P(row_kernel_sets, ValuesStayFarFromUnderflow) {
    constexpr int K = 20, N_STEPS = 1000;
    std::vector<row_kernels::plain::step> steps(N_STEPS + 1, {std::vector<int>(K, 0), {1, 0}, 1e-6F, 1e-7F});
    run_in_memory memory(steps, K, 1);
    kernel.spread(memory.run, in_blocks(std::vector<float>(K, 1.0F / K)).front().value);
    row_kernels::inside_run* runs[] = {&memory.run};
    kernel.inside(runs, 1, N_STEPS);
    const row_kernels::row_scales& scales = *memory.run.scales;
    for (int k = 0; k < K; ++k) EXPECT_GT(memory.run.rows[k], 1e-30F);
    const double log2_of_mismatch = std::log2(1e-6);
    EXPECT_NEAR(scales.exponent[0] + std::log2(double{scales.sum[0]}), (N_STEPS + 1) * log2_of_mismatch, 0.1);
    EXPECT_NEAR(scales.exponent[1] + std::log2(double{scales.sum[1]}), 0.0, 0.1);
}

INSTANTIATE_TEST_SUITE_P(RowKernels, row_kernel_sets, ::testing::ValuesIn(row_kernels::available_kernels()),
                         [](const auto& set) {
                             std::string name = set.param->name;
                             std::erase(name, '-');
                             return name;
                         });

}  // namespace
