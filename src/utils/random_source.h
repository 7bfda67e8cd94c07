#pragma once

#include <array>
#include <mutex>
#include <vector>

/// The stream of random numbers of a run: the generator of Park and Miller (1988) with the shuffle of Bays
/// and Durham (1976). Whatever draws is handed the source, so the order of draws can be read off the calls:
/// with one thread a seed gives the same output byte for byte.
///
/// Several threads may draw from one source; the timing then decides who gets which number.
class random_source {
  public:
    /// Starts the stream of `seed`; 0 and 1 give the same stream.
    explicit random_source(long seed) : state(-seed) {}

    /// A number in (0, 0.99999988].
    double draw();
    /// floor(draw() * n): from 0 to n - 1.
    int draw_below(int n);
    /// An index with probability weights[i] / sum. Always takes one draw; the last entry is the fallback.
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
