#pragma once

#include <chrono>

/// Measures the seconds between calls of lap().
class stopwatch {
  public:
    double lap() {
        const clock::time_point before = now;
        now = clock::now();
        return std::chrono::duration<double>(now - before).count();
    }

  private:
    using clock = std::chrono::steady_clock;
    clock::time_point now = clock::now();
};
