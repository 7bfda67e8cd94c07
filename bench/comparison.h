#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace bench {

/// Registers a benchmark of the plain way to do something and of the ways that the program has, each by a
/// name such as "AVX2". The report tells for each way how many times faster it is than the plain one, and the
/// time that one item takes. `items` is the number of items that a call works on.
class comparison {
  public:
    comparison(std::string title, double items, std::function<void()> plain);
    comparison& way(const std::string& name, std::function<void()> call);

  private:
    std::string title;
    double items;
};

/// A benchmark without a plain way beside it.
void alone(const std::string& title, double items, std::function<void()> call);
/// The same, of a call that goes through `bytes` bytes, whose rate is reported too.
void alone(const std::string& title, double items, double bytes, std::function<void()> call);

/// Ends the program with a message when an answer is not that of the plain twin.
void expect(bool same, const std::string& what);

/// Runs all that has been registered; the body of each main.
int run(int argc, char** argv);

}  // namespace bench
