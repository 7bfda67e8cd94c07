#pragma once

#include <bit>
#include <cstdint>
#include <vector>

/// Scalar reference implementation of the row kernels. Tests check that both give the same bits, benchmarks
/// compare their speed.
namespace row_kernels::plain {

/// The values of candidate c are row[c].
struct column {
    std::vector<std::vector<float>> row;
    std::vector<float> sum;
    std::vector<int> exponent;
};

/// One locus: the alleles of haplotypes and candidates, the emission of a mismatch, and the probability of a
/// jump on the way there.
struct step {
    std::vector<int> alleles, candidates;
    float mismatch;
    float jump;

    float emission(std::size_t c, std::size_t k) const {
        return alleles[k] == candidates[c] ? 1.0F : mismatch;
    }
};

/// 16 partial sums, folded in halves.
inline float sum_of(const std::vector<float>& values) {
    std::vector<float> part(16, 0.0F);
    for (std::size_t k = 0; k < values.size(); ++k) part[k % 16] += values[k];
    for (std::size_t half = 8; half > 0; half /= 2)
        for (std::size_t j = 0; j < half; ++j) part[j] += part[j + half];
    return part[0];
}

inline column spread(const step& s, const std::vector<float>& before) {
    column to;
    for (std::size_t c = 0; c < s.candidates.size(); ++c) {
        std::vector<float> row;
        for (std::size_t k = 0; k < before.size(); ++k) row.push_back(before[k] * s.emission(c, k));
        to.sum.push_back(sum_of(row));
        to.exponent.push_back(0);
        to.row.push_back(std::move(row));
    }
    return to;
}

inline void inside(const step& s, column& column) {
    const auto K = static_cast<float>(s.alleles.size());
    for (std::size_t c = 0; c < column.row.size(); ++c) {
        const int exponent = static_cast<int>(std::bit_cast<std::uint32_t>(column.sum[c]) >> 23) - 127;
        const float scale = std::bit_cast<float>(static_cast<std::uint32_t>(127 - exponent) << 23);
        const float to_one = column.sum[c] * scale * (s.jump / K), stay = scale * (1.0F - s.jump);
        for (std::size_t k = 0; k < column.row[c].size(); ++k)
            column.row[c][k] = (to_one + stay * column.row[c][k]) * s.emission(c, k);
        column.sum[c] = sum_of(column.row[c]);
        column.exponent[c] += exponent;
    }
}

inline std::vector<float> collapse(const column& from, const std::vector<float>& weight, float start) {
    std::vector<float> out(from.row[0].size(), start);
    for (std::size_t c = 0; c < from.row.size(); ++c)
        for (std::size_t k = 0; k < out.size(); ++k) out[k] += weight[c] * from.row[c][k];
    return out;
}

inline float product(const std::vector<float>& left, const std::vector<float>& right) {
    std::vector<float> products;
    for (std::size_t k = 0; k < left.size(); ++k) products.push_back(left[k] * right[k]);
    return sum_of(products);
}

}  // namespace row_kernels::plain
