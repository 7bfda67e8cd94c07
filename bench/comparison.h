#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace bench {

/// Registers a benchmark of the reference implementation of a task and of the implementations in the program,
/// each with a name such as "AVX2". The report shows the speed-up of each over the reference, and the time
/// per item. `items` is the number of items that a call processes.
class comparison {
  public:
    comparison(std::string title, double items, std::function<void()> plain);
    comparison& way(const std::string& name, std::function<void()> call);

  private:
    std::string title;
    double items;
};

/// A benchmark without a reference implementation.
void alone(const std::string& title, double items, std::function<void()> call);
/// The same for a call that processes `bytes` bytes; the byte rate is reported too.
void alone(const std::string& title, double items, double bytes, std::function<void()> call);

/// Ends the program with a message if a result differs from that of the reference implementation.
void expect(bool same, const std::string& what);

/// Runs all registered benchmarks; the body of each main.
int run(int argc, char** argv);

}  // namespace bench
