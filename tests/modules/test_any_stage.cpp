#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>

#include "modules/builder.h"
#include "modules/normaliser.h"
#include "modules/population.h"
#include "modules/pruner.h"
#include "modules/sampler.h"
#include "modules/solver.h"
#include "support/child_process.h"
#include "support/log_capture.h"
#include "utils/putils.h"

/// What holds for every stage over individuals: its lines, and that its result is that of treating each
/// individual once, whatever the number of threads.
namespace {

using support::aborts_on;
using support::log_capture;

/// A stage: its lines, its pass, and its work on one individual.
struct any_stage {
    const char* name;
    const char* start_line;
    const char* progress;
    std::function<void(population&, int n_thread)> pass;
    std::function<void(population&, int ind)> one;
};

const std::vector<any_stage> STAGES = {
    {"normaliser", "Normalising graphs", "Normalising graphs",
     [](population& p, int n) { normaliser(p.set, n).normalise(); },
     [](population& p, int ind) { normaliser(p.set, 1).normalise(ind); }},
    {"pruner", "Pruning graphs", "Pruning graphs",
     [](population& p, int n) { pruner(p.set, 0.99, n).prune(); },
     [](population& p, int ind) { pruner(p.set, 0.99, 1).prune(ind); }},
    {"solver", "Solving haplotypes", "Solving haplotypes",
     [](population& p, int n) { solver(p.set, n).solve(); },
     [](population& p, int ind) { solver(p.set, 1).solve(ind); }},
    {"sampler", "Sampling haplotypes", "Sampling haplotypes",
     [](population& p, int n) { sampler(p.set, true, n, true).sample(); },
     [](population& p, int ind) { sampler(p.set, true, 1, true).sample(ind); }},
};

/// All that a stage may change, as text.
std::string state_of(const population& p) {
    std::ostringstream text;
    for (const genotype_graph* graph : p.set.vecG) graph->print_state(text);
    for (const std::string& h : p.haplotypes()) text << h << "\n";
    return text.str();
}

class stages : public ::testing::TestWithParam<any_stage> {};

TEST_P(stages, TreatEachIndividualOnce) {
    for (const int n : {0, 1, 5}) {
        population expected(n);
        putils::initRandom(1);
        for (int ind = 0; ind < n; ++ind) GetParam().one(expected, ind);
        for (const int n_threads : {1, 2, 7}) {
            const log_capture silenced;
            population p(n);
            putils::initRandom(1);
            GetParam().pass(p, n_threads);
            // With threads the draws reach individuals in any order.
            if (n_threads == 1 || GetParam().name != std::string("sampler")) {
                EXPECT_EQ(state_of(p), state_of(expected))
                    << n << " individuals, " << n_threads << " threads";
            }
        }
    }
}

TEST_P(stages, PrintTheirLines) {
    for (const int n : {0, 2}) {
        const log_capture capture;
        population p(n);
        GetParam().pass(p, 1);
        const auto line = [&](int done) {
            return "\r" + std::string(GetParam().progress) + " [" + std::to_string(done) + "/" +
                   std::to_string(n) + "]";
        };
        EXPECT_EQ(capture.log(), "\n" + std::string(GetParam().start_line) + "\n\n");
        EXPECT_EQ(capture.console(), "\n" + (n == 2 ? line(1) + line(2) : "") + line(n) + "\n");
    }
}

TEST_P(stages, CheckTheIndividual) {
    EXPECT_TRUE(aborts_on("ind < GH.vecG.size()", [] {
        population p(2);
        GetParam().one(p, 2);
    }));
    EXPECT_TRUE(aborts_on("ind >= 0", [] {
        population p(2);
        GetParam().one(p, -1);
    }));
}

INSTANTIATE_TEST_SUITE_P(Modules, stages, ::testing::ValuesIn(STAGES),
                         [](const auto& stage) { return std::string(stage.param.name); });

}  // namespace
