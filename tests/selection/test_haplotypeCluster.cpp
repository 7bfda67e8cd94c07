#include "selection/haplotypeCluster.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <vector>

#include "support/child_process.h"
#include "support/plain_generator.h"

namespace {

using support::aborts_on;
using support::plain_generator;

/// A tree with these cluster numbers, as if it had been built.
haplotypeCluster tree_of(const std::map<int, std::vector<int>>& clusters, const std::vector<int>& assign,
                         int cond_size, int min_size) {
    return haplotypeCluster({0, 8, cond_size, min_size, clusters, assign});
}

TEST(HaplotypeCluster, StartsEmpty) {
    const haplotypeCluster tree;
    EXPECT_EQ(tree.start(), 0);
    EXPECT_EQ(tree.stop(), 0);
    EXPECT_TRUE(tree.clusters().empty());
    EXPECT_TRUE(tree.assign().empty());
}

/// Marks clusters and random haplotypes, and removes the marks of the individual's own two.
void mark(const haplotypeCluster& tree, int individual, random_source& random, haplotype_mask& mask) {
    const int n_marked = tree.mark_clusters(individual, mask);
    EXPECT_EQ(std::count(mask.begin(), mask.end(), 1), n_marked);
    const haplotype_mask before = mask;
    std::vector<int> drawn = {7};
    tree.mark_random(individual, n_marked, random, mask, drawn);
    EXPECT_EQ(std::count(mask.begin(), mask.end(), 1), n_marked + static_cast<long>(drawn.size()));
    for (const int h : drawn) EXPECT_TRUE(mask[h] == 1 && before[h] == 0);
    mask[2 * individual] = mask[2 * individual + 1] = 0;
}

TEST(Mask, MarksBothClustersAndSomeOthersButNotTheIndividual) {
    // Individual 0 has haplotypes 0 and 1, in clusters 0 and 4.
    const haplotypeCluster tree = tree_of({{0, {0, 2, 4}}, {4, {1, 3}}, {1, {5, 6, 7, 8, 9, 10, 11}}},
                                          {0, 4, 0, 4, 0, 1, 1, 1, 1, 1, 1, 1}, 3, 2);
    for (int seed = 1; seed <= 30; ++seed) {
        plain_generator random(seed);
        haplotype_mask expected = {1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0};
        for (int added = 0; added < 2; ++added) {
            int h = static_cast<int>(random.draw() * 12);
            while (expected[h]) h = static_cast<int>(random.draw() * 12);
            expected[h] = 1;
        }
        expected[0] = expected[1] = 0;
        random_source draws(seed);
        haplotype_mask mask = {1, 1};
        mark(tree, 0, draws, mask);
        EXPECT_EQ(mask, expected) << "seed " << seed;
        EXPECT_EQ(draws.draw(), random.draw());
    }
}

TEST(Mask, OneClusterForBothHaplotypes) {
    const haplotypeCluster tree =
        tree_of({{0, {0, 1, 2, 3}}, {1, {4, 5, 6, 7}}}, {0, 0, 0, 0, 1, 1, 1, 1}, 4, 2);
    random_source draws(1);
    haplotype_mask mask;
    mark(tree, 1, draws, mask);
    EXPECT_EQ(std::count(mask.begin(), mask.end(), true), 4) << "two of the cluster and two random ones";
    EXPECT_TRUE(mask[0] && mask[1]);
    EXPECT_FALSE(mask[2] || mask[3]);
}

TEST(Mask, RandomHaplotypesStopWhenNoneIsLeft) {
    const haplotypeCluster tree =
        tree_of({{0, {0, 1, 2, 3, 4, 5, 6}}, {1, {7}}}, {0, 0, 0, 0, 0, 0, 0, 1}, 7, 5);
    random_source draws(1);
    haplotype_mask mask;
    mark(tree, 0, draws, mask);
    EXPECT_EQ(mask, (haplotype_mask{0, 0, 1, 1, 1, 1, 1, 1}));
}

TEST(Mask, SmallSetMarksAllOthers) {
    const haplotypeCluster tree = tree_of({}, {0, 0, 0, 0, 0, 0}, 6, 2);
    random_source draws(1);
    haplotype_mask mask;
    mark(tree, 1, draws, mask);
    EXPECT_EQ(mask, (haplotype_mask{1, 1, 0, 0, 1, 1}));
    EXPECT_EQ(draws.draw(), plain_generator(1).draw()) << "takes no draw";
}

TEST(Mask, IndividualOutOfRangeAborts) {
    EXPECT_TRUE(aborts_on("curr_ind<nhap/2", [] {
        random_source draws(1);
        haplotype_mask mask;
        mark(tree_of({{0, {0, 1}}}, {0, 0, 0, 0}, 2, 1), 2, draws, mask);
    }));
}

TEST(Mask, TooSmallClustersPrintTheirSizesAndAbort) {
    const auto ask = [] {
        random_source draws(1);
        haplotype_mask mask;
        mark(tree_of({{0, {0}}, {1, {1, 2, 3}}}, {0, 1, 1, 1, 2, 2, 2, 2, 2, 2}, 5, 3), 0, draws, mask);
    };
    EXPECT_TRUE(aborts_on("count>=ncond", ask));
    EXPECT_EQ(support::run_in_child(ask).out, "COUNT = 2\n1\n3\n");
}

}  // namespace
