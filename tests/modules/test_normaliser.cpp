#include "modules/normaliser.h"

#include <gtest/gtest.h>

#include "modules/population.h"
#include "support/log_capture.h"

namespace {

TEST(Normaliser, EveryGroupSumsToOne) {
    const support::log_capture silenced;
    population p(4);
    normaliser(p.set, 2).normalise();
    for (const genotype_graph* graph : p.set.vecG)
        for (int g = 0; g < graph->n_groups(); ++g) {
            double sum = 0.0;
            for (unsigned k = 0; k < graph->trans_count[g]; ++k)
                sum += graph->trans_store[graph->trans_offset[g] + k];
            EXPECT_NEAR(sum, 1.0, 1e-5);
        }
}

}  // namespace
