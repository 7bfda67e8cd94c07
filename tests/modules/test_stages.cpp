#include "modules/stages.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <sstream>
#include <string>

#include "support/child_process.h"
#include "support/graph_laws.h"
#include "support/graph_text.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "support/population.h"
#include "support/study.h"

namespace {

using support::log_capture;
using support::population;

/// A stage over individuals: its heading, its pass, and what it does with one individual.
struct any_stage {
    const char* name;
    const char* heading;  // also the start of the progress line; empty for a silent stage
    std::function<void(population&, worker_team&, random_source&)> pass;
    std::function<void(population&, int ind, random_source&)> one;
};
void PrintTo(const any_stage& row, std::ostream* out) {
    *out << row.name;
}

const std::vector<any_stage> STAGES = {
    {"normalise", "Normalising graphs",
     [](population& p, worker_team& t, random_source&) { normalise_graphs(p.set, t); },
     [](population& p, int ind, random_source&) { p.set.vecG[ind].normalize(); }},
    {"prune", "Pruning graphs",
     [](population& p, worker_team& t, random_source&) { prune_graphs(p.set, 0.9, t); },
     [](population& p, int ind, random_source&) { p.set.vecG[ind].pruneAndMerge(0.9); }},
    {"solve", "Solving haplotypes",
     [](population& p, worker_team& t, random_source& r) { solve_haplotypes(p.set, t, r); },
     [](population& p, int ind, random_source& r) {
         const genotype_graph& graph = p.set.vecG[ind];
         graph.buildGuesses(p.set.vecH, haplotypes_of(ind), graph.best_path(), r);
     }},
    {"sample_first", "Sampling haplotypes",
     [](population& p, worker_team& t, random_source& r) { sample_first_haplotypes(p.set, t, r); },
     [](population& p, int ind, random_source& r) {
         p.set.vecG[ind].sample(p.set.vecH, haplotypes_of(ind), true, r);
     }},
    {"sample", "",
     [](population& p, worker_team& t, random_source& r) { sample_haplotypes(p.set, false, t, r); },
     [](population& p, int ind, random_source& r) {
         p.set.vecG[ind].sample(p.set.vecH, haplotypes_of(ind), false, r);
     }},
};

class stages : public ::testing::TestWithParam<any_stage> {};

TEST_P(stages, ProcessEachIndividualOnceInOrder) {
    for (const int n : {0, 1, 5}) {
        population expected(n);
        random_source plain(1);
        for (int ind = 0; ind < n; ++ind) GetParam().one(expected, ind, plain);
        for (const int n_threads : {1, 2, 7}) {
            const log_capture silenced;
            population p(n);
            worker_team team(n_threads);
            random_source draws(1);
            GetParam().pass(p, team, draws);
            EXPECT_EQ(p.state(), expected.state()) << n << " individuals, " << n_threads << " threads";
            random_source after = plain;
            EXPECT_EQ(draws.draw(), after.draw());
        }
    }
}

TEST_P(stages, PrintTheirMessages) {
    for (const int n : {0, 2}) {
        const log_capture capture;
        population p(n);
        worker_team team(1);
        random_source draws(1);
        GetParam().pass(p, team, draws);
        const std::string heading = GetParam().heading;
        if (heading.empty()) {
            EXPECT_EQ(capture.log() + capture.console(), "");
            continue;
        }
        const auto line = [&](int done) {
            return "\r" + heading + " [" + std::to_string(done) + "/" + std::to_string(n) + "]";
        };
        EXPECT_EQ(capture.log(), "\n" + heading + "\n\n");
        EXPECT_EQ(capture.console(), "\n" + (n == 2 ? line(1) + line(2) : "") + line(n) + "\n");
    }
}

INSTANTIATE_TEST_SUITE_P(Modules, stages, ::testing::ValuesIn(STAGES),
                         [](const auto& stage) { return std::string(stage.param.name); });

TEST(BuildGraphs, BuildsTheGraphOfEachIndividual) {
    std::mt19937 random(1);
    for (const int n_threads : {1, 2, 7})
        for (const int n : {0, 1, 5}) {
            const log_capture silenced;
            std::vector<std::string> genotypes;
            for (int i = 0; i < n; ++i) genotypes.push_back(support::random_genotypes(50, 40, 10, random));
            worker_team team(n_threads);
            const std::vector<genotype_graph> graphs = build_graphs(support::study_of(genotypes), team);
            ASSERT_EQ(graphs.size(), static_cast<std::size_t>(n));
            for (int i = 0; i < n; ++i) {
                std::ostringstream text, expected;
                graphs[i].print_state(text);
                support::built_from(genotypes[i], "I" + std::to_string(i)).print_state(expected);
                EXPECT_EQ(text.str(), expected.str()) << n_threads << " threads";
            }
        }
}

TEST(BuildGraphs, PrintsItsMessages) {
    for (const int n_threads : {1, 2}) {
        const log_capture capture;
        worker_team team(n_threads);
        build_graphs(support::study_of({"01", "1."}), team);
        EXPECT_EQ(capture.log(), "\nBuilding graphs ... \n\n");
        EXPECT_NE(capture.console().find("\rBuilding graphs [2/2]\n"), std::string::npos);
    }
}

TEST(SampleHaplotypes, FailureStopsTheRunFromAnyThread) {
    for (const int n_threads : {1, 2, 7})
        EXPECT_TRUE(support::stops_naming({"Underflow in sampling", " / i=I3 b=", " sp=0.0000000000"},
                                          [=] {
                                              population p(5);
                                              for (float& weight : p.set.vecG[3].trans_prob) weight = 0.0F;
                                              worker_team team(n_threads);
                                              random_source draws(1);
                                              sample_haplotypes(p.set, false, team, draws);
                                          }))
            << n_threads << " threads";
}

TEST(NormaliseGraphs, EveryGroupSumsToOne) {
    const log_capture silenced;
    population p(4);
    worker_team team(2);
    normalise_graphs(p.set, team);
    for (const genotype_graph& graph : p.set.vecG)
        for (int g = 0; g < graph.n_groups(); ++g) {
            double sum = 0.0;
            for (unsigned k = 0; k < graph.trans_count[g]; ++k)
                sum += graph.trans_store[graph.trans_offset[g] + k];
            EXPECT_NEAR(sum, 1.0, 1e-5);
        }
}

TEST(PruneGraphs, KeepsGraphsValid) {
    for (const double kept_share : {0.1, 0.99}) {
        const log_capture silenced;
        population p(3);
        worker_team team(1);
        prune_graphs(p.set, kept_share, team);
        for (const genotype_graph& graph : p.set.vecG) EXPECT_TRUE(support::check_invariants(graph));
    }
}

}  // namespace
