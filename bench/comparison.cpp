#include "comparison.h"

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <map>

namespace bench {

namespace {

const std::string PLAIN = "plain";

/// `bytes` is 0 for a call without a meaningful byte rate.
void add(const std::string& title, const std::string& name, double items, double bytes,
         std::function<void()> call) {
    const auto body = [items, bytes, call = std::move(call)](benchmark::State& state) {
        for (auto _ : state) {
            call();
            benchmark::ClobberMemory();
        }
        state.counters["items"] = items;
        if (bytes > 0)
            state.SetBytesProcessed(static_cast<std::int64_t>(bytes) *
                                    static_cast<std::int64_t>(state.iterations()));
    };
    benchmark::RegisterBenchmark((title + "/" + name).c_str(), body);
}

/// Adds to each run the speed-up over the reference implementation of the same title, which comes first.
class ratio_reporter : public benchmark::ConsoleReporter {
  public:
    ratio_reporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        std::vector<Run> reported = runs;
        for (Run& run : reported) {
            const std::string name = run.run_name.function_name;
            const std::string title = name.substr(0, name.rfind('/')) + ":" + run.aggregate_name;
            const double time = run.GetAdjustedCPUTime();
            if (name.ends_with("/" + PLAIN)) plain_time[title] = time;
            run.counters["ns_an_item"] = run.GetAdjustedCPUTime() / run.counters["items"];
            run.counters.erase("items");
            if (run.aggregate_name != "stddev" && run.aggregate_name != "cv" && plain_time.contains(title))
                run.counters["times_plain"] = plain_time[title] / time;
        }
        ConsoleReporter::ReportRuns(reported);
    }

  private:
    std::map<std::string, double> plain_time;
};

}  // namespace

comparison::comparison(std::string name, double n_items, std::function<void()> plain)
    : title(std::move(name)), items(n_items) {
    add(title, PLAIN, items, 0, std::move(plain));
}

comparison& comparison::way(const std::string& name, std::function<void()> call) {
    add(title, name, items, 0, std::move(call));
    return *this;
}

void alone(const std::string& title, double items, std::function<void()> call) {
    add(title, "program", items, 0, std::move(call));
}

void alone(const std::string& title, double items, double bytes, std::function<void()> call) {
    add(title, "program", items, bytes, std::move(call));
}

void expect(bool same, const std::string& what) {
    if (same) return;
    std::cerr << what << " differs from its reference implementation\n";
    std::exit(1);
}

int run(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    ratio_reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}

}  // namespace bench
