#include "selection/falling_limit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

TEST(FallingLimit, IsTheKthSmallestDistance) {
    std::mt19937 random(1);
    falling_limit falling;
    for (const int K : {1, 2, 7, 100})
        for (const int largest : {0, 5, 300}) {
            falling.restart(K, largest);
            std::vector<int> all;
            for (int i = 0; i < 400; ++i) {
                const bool is_full = static_cast<int>(all.size()) >= K;
                ASSERT_EQ(falling.limit(), is_full ? all[K - 1] : DISTANCE_BEYOND_LIMIT) << i << " of " << K;
                for (int d = 0; d < std::min(falling.limit(), largest + 1); ++d)
                    ASSERT_EQ(falling.n_up_to(d), std::upper_bound(all.begin(), all.end(), d) - all.begin());
                all.push_back(static_cast<int>(random() % static_cast<unsigned>(largest + 1)));
                falling.add(all.back());
                std::sort(all.begin(), all.end());
            }
        }
}

TEST(FallingLimit, NeverFallsWithoutCapacity) {
    falling_limit falling;
    for (const int K : {0, -3}) {
        falling.restart(K, 5);
        falling.add(3);
        EXPECT_EQ(falling.limit(), DISTANCE_BEYOND_LIMIT);
    }
}

}  // namespace
