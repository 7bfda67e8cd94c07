#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace support {

/// The generator of Park and Miller (1988), x -> 16807 x mod 2^31 - 1, with the shuffle of Bays and Durham
/// (1976), written with 64-bit products: the reference implementation for random_source.
class plain_generator {
  public:
    explicit plain_generator(std::int64_t seed) : start(seed) {}

    static std::int64_t next_state(std::int64_t x) { return 16807 * x % 2147483647; }

    double draw() {
        if (state == 0 || last == 0) fill();
        state = next_state(state);
        const std::int64_t slot = last / 67108864;
        last = table[static_cast<std::size_t>(slot)];
        table[static_cast<std::size_t>(slot)] = state;
        return std::min(static_cast<double>(last) * 4.656612875245797e-10, 0.99999988);
    }

  private:
    /// Fills the table from the seed the first time, and from 1 if the state is 0.
    void fill() {
        state = start > 0 ? start : 1;
        start = 0;
        for (int warm_up = 0; warm_up < 8; ++warm_up) state = next_state(state);
        for (std::size_t i = table.size(); i-- > 0;) table[i] = state = next_state(state);
        last = table[0];
    }

    std::int64_t start;
    std::int64_t state = 0;
    std::int64_t last = 0;
    std::array<std::int64_t, 32> table{};
};

}  // namespace support
