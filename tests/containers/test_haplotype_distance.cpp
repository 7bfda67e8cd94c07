#include "containers/haplotype_distance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

TEST(HaplotypeDistance, IsUnsetAndFarAwayAtFirst) {
    const haplotype_distance unset;
    EXPECT_EQ(unset.idx, -1);
    EXPECT_EQ(unset.dist, 1000000000);
}

TEST(HaplotypeDistance, OrderFollowsTheSwitch) {
    const haplotype_distance near{7, 3}, far{2, 5}, equal{1, 3};
    haplotype_distance::minimise = true;
    EXPECT_TRUE(near < far);
    EXPECT_FALSE(far < near);
    EXPECT_FALSE(near < equal);
    EXPECT_FALSE(equal < near) << "indices play no part";
    haplotype_distance::minimise = false;
    EXPECT_FALSE(near < far);
    EXPECT_TRUE(far < near);
    EXPECT_FALSE(near < equal);
    haplotype_distance::minimise = true;
}

TEST(HaplotypeDistance, HeapHasTheLargestDistanceOnTop) {
    std::vector<haplotype_distance> heap = {{0, 4}, {1, 9}, {2, 1}, {3, 7}};
    std::make_heap(heap.begin(), heap.end());
    EXPECT_EQ(heap.front().dist, 9);
}

}  // namespace
