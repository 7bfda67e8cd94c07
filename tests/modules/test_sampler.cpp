#include "modules/sampler.h"

#include <gtest/gtest.h>

#include "modules/population.h"
#include "support/child_process.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "utils/putils.h"

namespace {

using support::log_capture;

TEST(Sampler, SamplesInOrderOfIndividuals) {
    for (const bool uniform : {true, false}) {
        population p(5), plain(5);
        putils::initRandom(9);
        for (int i = 0; i < 5; ++i) plain.set.vecG[i]->sample(plain.set.vecH, {2 * i, 2 * i + 1}, uniform);
        putils::initRandom(9);
        sampler(p.set, uniform, 1, false).sample();
        EXPECT_EQ(p.haplotypes(), plain.haplotypes());
    }
}

TEST(Sampler, EveryPairFitsItsIndividual) {
    for (const int n_threads : {1, 2, 7}) {
        population p(8);
        sampler(p.set, false, n_threads, false).sample();
        const auto haplotypes = p.haplotypes();
        for (int i = 0; i < 8; ++i)
            EXPECT_TRUE(support::fits(p.genotypes[i], {haplotypes[2 * i], haplotypes[2 * i + 1]}));
    }
}

TEST(Sampler, SilentOneWritesNothingWithThreadsEither) {
    for (const int n_threads : {1, 2, 7}) {
        const log_capture capture;
        population p(5);
        sampler(p.set, true, n_threads, false).sample();
        EXPECT_EQ(capture.console(), "");
        EXPECT_EQ(capture.log(), "");
    }
}

TEST(Sampler, FailureStopsTheRunFromAnyThread) {
    for (const int n_threads : {1, 2, 7})
        EXPECT_TRUE(support::stops_naming({"Underflow in sampling", " / i=I3 b=", " sp=0.0000000000"},
                                          [=] {
                                              population p(5);
                                              for (float& weight : p.set.vecG[3]->trans_prob) weight = 0.0F;
                                              sampler(p.set, false, n_threads, false).sample();
                                          }))
            << n_threads << " threads";
}

}  // namespace
