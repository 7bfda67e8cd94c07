#pragma once

#include <array>
#include <mutex>
#include <vector>

/// The random numbers of a run: the generator of Park and Miller (1988) with the shuffle of Bays and Durham
/// (1976). Code that draws gets the source as an argument, so the calls show the order of draws. With one
/// thread, a seed always gives the same output, byte for byte.
///
/// Several threads may draw from one source; then timing decides which thread gets which number.
class random_source {
  public:
    /// Starts the stream of `seed`; 0 and 1 give the same stream.
    explicit random_source(long seed) : state(-seed) {}

    /// A number in (0, 0.99999988].
    double draw();
    /// floor(draw() * n): from 0 to n - 1.
    int draw_below(int n);
    /// An index, with probability weights[i] / sum. Always takes one draw. Returns the last index if rounding
    /// leaves the draw above all partial sums, and 0 if there are no weights.
    int draw_index(const std::vector<double>& weights, double sum);

  private:
    static constexpr int TABLE_SIZE = 32;

    void restart();
    void step();

    std::mutex drawing;  // guards all below
    long state;          // at most 0 until the first draw, which fills the table
    long last_output = 0;
    std::array<long, TABLE_SIZE> table{};
};
