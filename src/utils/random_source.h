#pragma once

#include <array>
#include <vector>

/// The random numbers of a run: the generator of Park and Miller (1988) with the shuffle of Bays and Durham
/// (1976). Code that draws gets the source as an argument, so the calls show the order of draws: a seed
/// always gives the same output, byte for byte.
///
/// A copy gives the same numbers as the original. Only one thread at a time may use a source; turn_order puts
/// threads in order.
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
    /// Leaves out the next `n` numbers.
    void skip(int n);

  private:
    static constexpr int TABLE_SIZE = 32;

    void restart();
    void step();

    long state;  // at most 0 until the first draw, which fills the table
    long last_output = 0;
    std::array<long, TABLE_SIZE> table{};
};
