#include "modules/builder.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <sstream>

#include "support/graph_text.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "support/study.h"

namespace {

using support::log_capture;
using support::study;

TEST(Builder, BuildsTheGraphOfEachIndividual) {
    std::mt19937 random(1);
    for (const int n_threads : {1, 2, 7})
        for (const int n : {0, 1, 5}) {
            const log_capture silenced;
            std::vector<std::string> genotypes;
            for (int i = 0; i < n; ++i) genotypes.push_back(support::random_genotypes(50, 40, 10, random));
            study s(genotypes);
            builder b(s.reader, n_threads);
            EXPECT_EQ(b.graphs, std::vector<genotype_graph*>(n, nullptr));
            b.build();
            ASSERT_EQ(b.graphs.size(), static_cast<std::size_t>(n));
            for (int i = 0; i < n; ++i) {
                const std::unique_ptr<genotype_graph> graph(b.graphs[i]);
                ASSERT_NE(graph, nullptr);
                std::ostringstream text, expected;
                graph->print_state(text);
                support::built_from(genotypes[i], "I" + std::to_string(i)).print_state(expected);
                EXPECT_EQ(text.str(), expected.str()) << n_threads << " threads";
            }
        }
}

TEST(Builder, PrintsItsLines) {
    const log_capture capture;
    study s({"01", "1."});
    builder b(s.reader, 1);
    b.build();
    for (const genotype_graph* graph : b.graphs) delete graph;
    EXPECT_EQ(capture.log(), "\nBuilding graphs ... \n\n");
    EXPECT_EQ(capture.console(), "\n\rBuilding graphs [1/2]\rBuilding graphs [2/2]\rBuilding graphs [2/2]\n");
}

TEST(Builder, WithThreadsAndNobodyClosesItsLine) {
    const log_capture capture;
    study s;
    builder b(s.reader, 2);
    b.build();
    EXPECT_EQ(capture.console(), "\n\rBuilding graphs [0/0]\n");
}

}  // namespace
