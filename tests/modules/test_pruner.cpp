#include "modules/pruner.h"

#include <gtest/gtest.h>

#include <sstream>

#include "modules/population.h"
#include "support/graph_laws.h"
#include "support/log_capture.h"

namespace {

TEST(Pruner, PrunesWithItsThreshold) {
    for (const double threshold : {0.1, 0.99}) {
        const support::log_capture silenced;
        population p(3), plain(3);
        pruner(p.set, threshold, 1).prune();
        for (int i = 0; i < 3; ++i) {
            plain.set.vecG[i]->pruneAndMerge(threshold);
            std::ostringstream text, expected;
            p.set.vecG[i]->print_state(text);
            plain.set.vecG[i]->print_state(expected);
            EXPECT_EQ(text.str(), expected.str());
            EXPECT_TRUE(support::check_invariants(*p.set.vecG[i]));
        }
    }
}

TEST(Pruner, SecondPassStartsAnew) {
    const support::log_capture capture;
    population p(2);
    pruner stage(p.set, 0.99, 1);
    stage.prune();
    for (genotype_graph* graph : p.set.vecG)
        for (float& weight : graph->trans_store) weight = 1.0F;
    stage.prune();
    EXPECT_EQ(capture.console(),
              "\n\rPruning graphs [1/2]\rPruning graphs [2/2]\rPruning graphs [2/2]\n"
              "\n\rPruning graphs [1/2]\rPruning graphs [2/2]\rPruning graphs [2/2]\n");
}

}  // namespace
