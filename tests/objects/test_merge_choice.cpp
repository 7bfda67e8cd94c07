#include "objects/merge_choice.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

/// The segment that merging a group away leaves.
struct offer {
    int n_haps, n_ambiguous;
};

/// Beyond the limits, like a group that is merged away.
constexpr offer EXCLUDED{100, 0};

/// Reference implementation: scans all groups.
int choose_plainly(const std::vector<offer>& groups) {
    int chosen = -1, fewest = 9, least = 21;
    for (int g = 0; g < static_cast<int>(groups.size()); ++g)
        if (groups[g].n_haps < fewest && groups[g].n_ambiguous <= least) {
            chosen = g;
            fewest = groups[g].n_haps;
            least = groups[g].n_ambiguous;
        }
    return chosen;
}

merge_choice choice_of(const std::vector<offer>& groups) {
    merge_choice choice(static_cast<int>(groups.size()));
    for (int g = 0; g < static_cast<int>(groups.size()); ++g)
        choice.set(g, groups[g].n_haps, groups[g].n_ambiguous);
    return choice;
}

TEST(MergeChoice, Examples) {
    struct row {
        std::vector<offer> groups;
        int expected;
    };
    for (const row& r :
         {row{{}, -1}, row{{{8, 21}}, 0}, row{{{9, 0}}, -1}, row{{{1, 22}}, -1}, row{{{4, 10}, {4, 5}}, 0},
          row{{{4, 10}, {3, 10}}, 1}, row{{{4, 10}, {3, 11}}, 0}, row{{{4, 10}, {3, 11}, {2, 10}}, 2},
          row{{{8, 5}, {7, 21}, {2, 6}, {7, 5}, {3, 4}, {1, 5}}, 4},
          row{{{8, 8}, {7, 7}, {6, 6}, {5, 5}, {4, 4}, {3, 3}, {2, 2}, {1, 1}}, 7},
          row{{{9, 0}, {9, 0}, {9, 0}, {2, 0}}, 3}})
        EXPECT_EQ(choice_of(r.groups).choose(), r.expected) << choose_plainly(r.groups);
}

TEST(MergeChoice, NothingQualifiesAtFirst) {
    for (const int n : {0, 1, 2, 100}) EXPECT_EQ(merge_choice(n).choose(), -1);
}

TEST(MergeChoice, SkipsAnExcludedGroup) {
    merge_choice choice = choice_of({{4, 10}, {2, 3}, {3, 10}});
    EXPECT_EQ(choice.choose(), 1);
    choice.exclude(1);
    EXPECT_EQ(choice.choose(), 2);
    choice.exclude(2);
    choice.exclude(0);
    EXPECT_EQ(choice.choose(), -1);
}

offer random_offer(std::mt19937& random) {
    return {1 + static_cast<int>(random() % 10), static_cast<int>(random() % 25)};
}

TEST(MergeChoice, AgreesWithAScanWhileGroupsChange) {
    std::mt19937 random(1);
    for (const int n : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 100, 1000}) {
        std::vector<offer> groups(n, EXCLUDED);
        merge_choice choice(n);
        for (int change = 0; change < 3000; ++change) {
            const auto g = static_cast<int>(random() % static_cast<unsigned>(n));
            if (random() % 3 == 0) {
                groups[g] = EXCLUDED;
                choice.exclude(g);
            } else {
                groups[g] = random_offer(random);
                choice.set(g, groups[g].n_haps, groups[g].n_ambiguous);
            }
            ASSERT_EQ(choice.choose(), choose_plainly(groups)) << n << " groups, change " << change;
        }
    }
}

/// Follows a whole merge: the chosen group is removed and its neighbours change, until nothing qualifies.
TEST(MergeChoice, AgreesWithAScanUntilNothingIsLeft) {
    std::mt19937 random(2);
    for (int trial = 0; trial < 5; ++trial) {
        std::vector<offer> groups(5000);
        for (offer& group : groups) group = random_offer(random);
        merge_choice choice = choice_of(groups);
        int n_taken = 0;
        for (int g = choice.choose(); g >= 0; g = choice.choose(), ++n_taken) {
            ASSERT_EQ(g, choose_plainly(groups));
            groups[g] = EXCLUDED;
            choice.exclude(g);
            for (const int neighbour : {g - 1, g + 1}) {
                if (neighbour < 0 || neighbour >= 5000) continue;
                if (groups[neighbour].n_haps == EXCLUDED.n_haps) continue;
                groups[neighbour].n_haps += static_cast<int>(random() % 2);
                groups[neighbour].n_ambiguous += static_cast<int>(random() % 3);
                choice.set(neighbour, groups[neighbour].n_haps, groups[neighbour].n_ambiguous);
            }
        }
        EXPECT_EQ(choose_plainly(groups), -1);
        EXPECT_GT(n_taken, 1000);
    }
}

}  // namespace
