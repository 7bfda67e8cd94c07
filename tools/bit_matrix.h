#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace simulation {

/// A matrix of bits, initially 0, with each row in whole words.
class BitMatrix {
  public:
    BitMatrix(std::size_t rows, std::size_t columns)
        : rows_(rows), columns_(columns), words_((columns + 63) / 64), bits_(rows * words_, 0) {}

    bool operator()(std::size_t row, std::size_t column) const {
        return bits_[row * words_ + column / 64] >> (column % 64) & 1;
    }
    void set(std::size_t row, std::size_t column) {
        bits_[row * words_ + column / 64] |= std::uint64_t{1} << (column % 64);
    }
    /// Inverts every bit of a row.
    void flip_row(std::size_t row) {
        for (std::size_t column = 0; column < columns_; ++column) {
            bits_[row * words_ + column / 64] ^= std::uint64_t{1} << (column % 64);
        }
    }

    std::size_t rows() const { return rows_; }
    std::size_t columns() const { return columns_; }

  private:
    std::size_t rows_;
    std::size_t columns_;
    std::size_t words_;
    std::vector<std::uint64_t> bits_;
};

}  // namespace simulation
