#include "models/column_kernels.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <list>
#include <random>

#include "models/column_kernels_plain.h"

namespace {

using column_kernels::HALF;
using column_kernels::kernel_set;
using column_kernels::lanes;
using column_kernels::LANES;
using plain_column = column_kernels::plain::column;
using plain_step = column_kernels::plain::step;

const int SIZES[] = {1, 2, 7, 8, 9, 99, 100, 400};

plain_column start_plainly(const plain_step& s) {
    plain_column column(static_cast<int>(s.emission.size()), s.K);
    column_kernels::plain::start(s, column);
    return column;
}

plain_column step_plainly(const plain_step& s, const plain_column& from, bool across) {
    plain_column column(static_cast<int>(s.emission.size()), s.K);
    (across ? column_kernels::plain::across : column_kernels::plain::inside)(s, from, column);
    return column;
}

std::uint64_t bits_of(double value) {
    return std::bit_cast<std::uint64_t>(value);
}

/// Random values, with some zeros and some denormal numbers.
double random_value(std::mt19937& random) {
    const double value = (static_cast<double>(random() % 1000000) + 1.0) / 1000003.0;
    switch (random() % 8) {
        case 0:
            return 0.0;
        case 1:
            return value * 1e-310;
        case 2:
            return 4.9406564584124654e-324 * static_cast<double>(random() % 3);
        case 3:
            return value * 1e-300;
        default:
            return value;
    }
}

plain_column random_column(int n_candidates, int K, std::mt19937& random) {
    plain_column column;
    for (int c = 0; c < n_candidates; ++c) {
        column.sum.push_back(0.0);
        for (int k = 0; k < K; ++k) {
            column.value.push_back(random_value(random));
            column.sum[c] += column.value.back();
        }
    }
    return column;
}

plain_step random_step(int n_candidates, int K, std::mt19937& random) {
    plain_step s{K, random_value(random) * 0.01, random_value(random), {}, {}};
    for (int k = 0; k < K; ++k) s.alleles.push_back(random() % 2);
    for (int c = 0; c < n_candidates; ++c) {
        const bool turned = random() % 2 == 0;
        s.emission.push_back(turned ? std::vector{1e-4, 0.9999} : std::vector{0.9999, 1e-4});
    }
    return s;
}

/// A column and its sums in rows of lanes. Lanes beyond the last candidate have values that must not be used.
struct packed_column {
    std::vector<lanes> rows;
    lanes sums{};
};

lanes useless() {
    lanes row;
    for (double& value : row.value) value = std::numeric_limits<double>::quiet_NaN();
    return row;
}

packed_column packed(const plain_column& plain, int K) {
    packed_column column{std::vector<lanes>(K, useless()), useless()};
    for (std::size_t c = 0; c < plain.sum.size(); ++c) {
        column.sums[static_cast<int>(c)] = plain.sum[c];
        for (int k = 0; k < K; ++k) column.rows[k][static_cast<int>(c)] = plain.value[c * K + k];
    }
    return column;
}

column_kernels::emissions packed(const plain_step& s) {
    column_kernels::emissions em{};
    for (std::size_t c = 0; c < s.emission.size(); ++c)
        for (int allele = 0; allele < 2; ++allele) em[allele][static_cast<int>(c)] = s.emission[c][allele];
    return em;
}

void expect_same_bits(const packed_column& column, const plain_column& plain, int K) {
    for (int c = 0; c < static_cast<int>(plain.sum.size()); ++c) {
        ASSERT_EQ(bits_of(column.sums[c]), bits_of(plain.sum[c])) << "sum of candidate " << c;
        for (int k = 0; k < K; ++k)
            ASSERT_EQ(bits_of(column.rows[k][c]), bits_of(plain.value[c * K + k]))
                << "candidate " << c << ", haplotype " << k;
    }
}

/// Each set of kernels that this machine supports.
class column_kernels_of : public ::testing::TestWithParam<const kernel_set*> {
  protected:
    const kernel_set& kernels = *GetParam();
    std::mt19937 random{1};

    /// Calls `check(number of candidates, K)` for all sizes, several times each.
    template <class Check>
    void for_all_sizes(Check check) {
        for (int n = 1; n <= LANES; ++n)
            for (const int K : SIZES)
                for (int trial = 0; trial < 3; ++trial) {
                    SCOPED_TRACE(std::to_string(n) + " candidates, K " + std::to_string(K));
                    check(n, K);
                }
    }
    column_kernels::step step_of(const plain_step& s, const packed_column& from, int n_from,
                                 packed_column& to) {
        held_emissions.push_back(packed(s));
        return {{from.rows.data(), &from.sums, s.tn, s.nt, n_from},
                &held_emissions.back(),
                s.alleles.data(),
                to.rows.data(),
                &to.sums};
    }

  private:
    std::list<column_kernels::emissions> held_emissions;  // steps point to them
};

TEST_P(column_kernels_of, Start) {
    for_all_sizes([&](int n, int K) {
        const plain_step s = random_step(n, K, random);
        packed_column none, column{std::vector<lanes>(K, useless()), useless()};
        kernels.start(step_of(s, none, 0, column), K);
        expect_same_bits(column, start_plainly(s), K);
    });
}

TEST_P(column_kernels_of, Inside) {
    for_all_sizes([&](int n, int K) {
        const plain_step s = random_step(n, K, random);
        const plain_column from = random_column(n, K, random);
        const packed_column before = packed(from, K);
        packed_column column{std::vector<lanes>(K, useless()), useless()};
        kernels.inside(step_of(s, before, n, column), K);
        expect_same_bits(column, step_plainly(s, from, false), K);
    });
}

TEST_P(column_kernels_of, InsideMayWorkInPlace) {
    for_all_sizes([&](int n, int K) {
        const plain_step s = random_step(n, K, random);
        const plain_column from = random_column(n, K, random);
        packed_column column = packed(from, K);
        kernels.inside(step_of(s, column, n, column), K);
        expect_same_bits(column, step_plainly(s, from, false), K);
    });
}

TEST_P(column_kernels_of, InsideBoth) {
    for_all_sizes([&](int n, int K) {
        const plain_step s = random_step(n, K, random), t = random_step(LANES + 1 - n, K, random);
        const plain_column from_s = random_column(n, K, random),
                           from_t = random_column(LANES + 1 - n, K, random);
        packed_column column_s = packed(from_s, K);
        const packed_column before_t = packed(from_t, K);
        packed_column column_t{std::vector<lanes>(K, useless()), useless()};
        kernels.inside_both(step_of(s, column_s, n, column_s), step_of(t, before_t, LANES + 1 - n, column_t),
                            K);
        expect_same_bits(column_s, step_plainly(s, from_s, false), K);
        expect_same_bits(column_t, step_plainly(t, from_t, false), K);
    });
}

TEST_P(column_kernels_of, Across) {
    for_all_sizes([&](int n, int K) {
        for (int n_from = 1; n_from <= LANES; ++n_from) {
            const plain_step s = random_step(n, K, random);
            const plain_column from = random_column(n_from, K, random);
            packed_column column = packed(from, K);
            if (n_from % 2 == 0) {
                kernels.across(step_of(s, column, n_from, column), K);
            } else {
                const packed_column before = column;
                kernels.across(step_of(s, before, n_from, column), K);
            }
            expect_same_bits(column, step_plainly(s, from, true), K);
        }
    });
}

TEST_P(column_kernels_of, Rescale) {
    for_all_sizes([&](int n, int K) {
        plain_column plain = random_column(n, K, random);
        plain.value[0] += 1e-12;  // so that the sum is not 0
        plain.sum[0] += 1e-12;
        packed_column column = packed(plain, K);
        kernels.rescale(n, K, column.rows.data(), column.sums);
        double total = 0.0;
        for (const double sum : plain.sum) total += sum;
        for (double& value : plain.value) value /= total;
        for (double& sum : plain.sum) sum /= total;
        expect_same_bits(column, plain, K);
    });
}

// Quotients as close as possible to the middle of two doubles, for divisors of all kinds.
TEST_P(column_kernels_of, RescaleRoundsLikeADivision) {
    constexpr int K = 100;
    const auto mantissa = [&] { return 1.0 + static_cast<double>(random() >> 12) * 0x1p-52; };
    std::vector<double> totals{1.0,    2.0,   0.75,     2.0 - 0x1p-52, 1.0 + 0x1p-52,
                               1e-300, 1e300, 0x1p-400, 0x1p400};
    for (int i = 0; i < 300; ++i)
        totals.push_back(std::ldexp(mantissa(), static_cast<int>(random() % 60) - 40));
    for (const double total : totals)
        for (const int n : {1, 8}) {
            std::vector<lanes> column(K);
            for (lanes& row : column)
                for (double& value : row.value)
                    value = static_cast<double>(static_cast<long double>(total) *
                                                std::ldexp(static_cast<long double>(mantissa()) + 0x1p-53L,
                                                           -static_cast<int>(random() % 40)));
            std::vector<lanes> expected = column;
            for (lanes& row : expected)
                for (double& value : row.value) value /= total;
            lanes sums{};
            sums[0] = total;
            kernels.rescale(n, K, column.data(), sums);
            for (int k = 0; k < K; ++k)
                for (int c = 0; c < n; ++c)
                    ASSERT_EQ(bits_of(column[k][c]), bits_of(expected[k][c])) << total;
            ASSERT_EQ(sums[0], 1.0);
        }
}

// Sums so small or so large that their reciprocal is not a normal number, while the column is far from both.
TEST_P(column_kernels_of, RescaleByVerySmallAndVeryLargeSums) {
    constexpr int K = 20;
    for (const double total : {4.9406564584124654e-324, 1e-310, 0x1p-1022, 1e308, 0x1.fffffffffffffp1023})
        for (const int n : {1, HALF, LANES}) {
            std::vector<lanes> column(K);
            for (lanes& row : column)
                for (double& value : row.value)
                    value = std::ldexp(1.0 + static_cast<double>(random() % 1000) / 1024.0,
                                       -60 - static_cast<int>(random() % 60));
            std::vector<lanes> expected = column;
            for (lanes& row : expected)
                for (double& value : row.value) value /= total;
            lanes sums{};
            sums[0] = total;
            kernels.rescale(n, K, column.data(), sums);
            for (int k = 0; k < K; ++k)
                for (int c = 0; c < n; ++c)
                    ASSERT_EQ(bits_of(column[k][c]), bits_of(expected[k][c])) << total;
        }
}

// Rows of which one lane only is denormal, and its quotient is in the middle of two denormal numbers: the
// nearest even one is right, which products with the reciprocal miss.
TEST_P(column_kernels_of, RescaleOfOneDenormalLane) {
    constexpr double SMALLEST = 4.9406564584124654e-324;
    constexpr int K = 40;
    for (const int odd : {3, 5, 7, 11, 13})
        for (int lane = 0; lane < LANES; ++lane) {
            const double total = 2.0 * odd;
            std::vector<lanes> column(K);
            for (int k = 0; k < K; ++k)
                for (int c = 0; c < LANES; ++c)
                    column[k][c] = c == lane ? SMALLEST * odd * (2 * k + 1) : 1.0 / (c + 1);
            std::vector<lanes> expected = column;
            for (lanes& row : expected)
                for (double& value : row.value) value /= total;
            lanes sums{};
            sums[0] = total;
            kernels.rescale(LANES, K, column.data(), sums);
            for (int k = 0; k < K; ++k)
                for (int c = 0; c < LANES; ++c)
                    ASSERT_EQ(bits_of(column[k][c]), bits_of(expected[k][c])) << total << ", lane " << lane;
        }
}

TEST_P(column_kernels_of, PairSums) {
    for_all_sizes([&](int n_left, int K) {
        for (int n_right = 1; n_right <= LANES; ++n_right) {
            const plain_column left = random_column(n_left, K, random),
                               right = random_column(n_right, K, random);
            const double tn = random_value(random), nt = random_value(random);
            const packed_column before = packed(left, K), after = packed(right, K);
            column_kernels::pair_matrix pairs{};
            kernels.pair_sums({before.rows.data(), &before.sums, tn, nt, n_left}, after.rows.data(), n_right,
                              K, pairs);
            std::vector<double> expected;
            column_kernels::plain::pair_sums({K, tn, nt, {}, {}}, left, right, expected);
            for (int c = 0; c < n_left; ++c)
                for (int d = 0; d < n_right; ++d)
                    ASSERT_EQ(bits_of(pairs[c][d]), bits_of(expected[c * n_right + d])) << c << " to " << d;
        }
    });
}

TEST(EmissionsOf, MatchTheAlleleOfEachCandidate) {
    for (unsigned alleles = 0; alleles < 256; ++alleles) {
        const column_kernels::emissions em = column_kernels::emissions_of(alleles, 0.75, 0.25);
        for (int c = 0; c < LANES; ++c) {
            const unsigned own = alleles / (1U << c) % 2;
            for (unsigned copied = 0; copied < 2; ++copied)
                ASSERT_EQ(em[copied][c], own == copied ? 0.75 : 0.25) << "candidate " << c;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sets, column_kernels_of, ::testing::ValuesIn(column_kernels::available_kernels()),
                         [](const auto& set) {
                             std::string name = set.param->name;
                             std::erase_if(name, [](char c) { return std::isalnum(c) == 0; });
                             return name;
                         });

TEST(AvailableKernels, BaselineComesLast) {
    const auto sets = column_kernels::available_kernels();
    ASSERT_FALSE(sets.empty());
    EXPECT_STREQ(sets.back()->name, "baseline");
    for (const kernel_set* set : sets) EXPECT_TRUE(set->is_available()) << set->name;
    EXPECT_EQ(&column_kernels::kernels(), sets.front());
}

}  // namespace
