#include "modules/turn_order.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(TurnOrder, PutsThePartsOfAPassInOrder) {
    for (const int n_threads : {1, 2, 3, 33}) {
        worker_team team(n_threads);
        for (const int n : {0, 1, 2, 1000}) {
            turn_order turns(team);
            std::vector<int> order;  // without a lock: only one item at a time has its turn
            team.run(n, [&](int item, int) { turns.take(item, [&] { order.push_back(item); }); });
            ASSERT_EQ(static_cast<int>(order.size()), n);
            for (int item = 0; item < n; ++item) EXPECT_EQ(order[item], item) << n_threads << " threads";
        }
    }
}

TEST(TurnOrder, WaitsForItemsThatAreSlow) {
    worker_team team(4);
    turn_order turns(team);
    std::vector<int> order;
    team.run(40, [&](int item, int) {
        volatile double busy = 0.0;
        for (int i = 0; i < (item % 5 == 0 ? 2000000 : 10); ++i) busy = busy + i;
        turns.take(item, [&] { order.push_back(item); });
    });
    for (int item = 0; item < 40; ++item) EXPECT_EQ(order[item], item);
}

TEST(TurnOrder, CountsTheTimeInTurns) {
    worker_team team(1);
    {
        turn_order turns(team);
        team.run(3, [&](int item, int) { turns.take(item, [] {}); });
    }
    EXPECT_GT(team.seconds.in_turns, 0.0);
    EXPECT_LE(team.seconds.in_turns, team.seconds.in_passes);
}

}  // namespace
