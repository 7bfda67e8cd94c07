#include "modules/solver.h"

#include <gtest/gtest.h>

#include "modules/population.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "utils/putils.h"

namespace {

TEST(Solver, WritesTheBestWalkOfEachIndividual) {
    const support::log_capture silenced;
    population p(4), plain(4);
    putils::initRandom(2);
    for (int i = 0; i < 4; ++i) plain.set.vecG[i]->maximize(plain.set.vecH, {2 * i, 2 * i + 1});
    putils::initRandom(2);
    solver(p.set, 1).solve();
    EXPECT_EQ(p.haplotypes(), plain.haplotypes());
    const auto haplotypes = p.haplotypes();
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(support::fits(p.genotypes[i], {haplotypes[2 * i], haplotypes[2 * i + 1]}));
}

TEST(Solver, NobodyToSolve) {
    const support::log_capture capture;
    population p(0);
    solver(p.set, 1).solve();
    EXPECT_EQ(capture.console(), "\n\rSolving haplotypes [0/0]\n");
}

}  // namespace
