#include "selection/learning_selector.h"

#include <gtest/gtest.h>

#include "selection/mosaic_cohort.h"
#include "selection/scan_selector.h"
#include "support/log_capture.h"

namespace {

std::vector<std::vector<int>> select_all(conditioning_selector& selector, random_source& random) {
    selector.prepare(true, random);
    const auto worker = selector.make_worker();
    std::vector<std::vector<int>> all;
    for (const phasing_job& job : selector.list_jobs(random)) {
        all.emplace_back();
        worker->measure({&job, 1});
        worker->draw(random);
        worker->choose(0, all.back());
    }
    return all;
}

// It adds rates and nothing else: the same jobs, haplotypes and draws.
TEST(LearningSelector, SelectsAsTheOtherOne) {
    const support::log_capture silenced;
    std::mt19937 random(6);
    const genhap_set set = mosaics::cohort(mosaics::haplotypes(40, 800, random), 20);
    for (const double most_order_bytes : {1e9, 1e5}) {
        worker_team team(1);
        scan_selector alone(set, 10, 300'000);
        learning_selector learning(std::make_unique<scan_selector>(set, 10, 300'000), set,
                                   {.step = 0.03, .most_order_bytes = most_order_bytes}, team);
        random_source draws(8), expected_draws(8);
        EXPECT_EQ(select_all(learning, draws), select_all(alone, expected_draws));
        EXPECT_EQ(draws.draw(), expected_draws.draw());
        EXPECT_EQ(learning.n_stretches(), 1);
        EXPECT_EQ(learning.fewest_haplotypes(), alone.fewest_haplotypes());
        EXPECT_EQ(alone.rates(3), nullptr);
        ASSERT_NE(learning.rates(3), nullptr);
        EXPECT_GT(learning.rates(3)->jump[100], 0.0F);
    }
}

}  // namespace
