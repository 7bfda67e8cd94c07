#include "objects/haplotypeCluster.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "containers/genhap_set.h"
#include "support/child_process.h"
#include "support/haplotype_text.h"
#include "support/plain_generator.h"
#include "utils/putils.h"

namespace {

using support::aborts_on;
using support::plain_generator;

void fill(genhap_set& set, int n, int n_loci, unsigned seed) {
    std::mt19937 random(seed);
    for (int h = 0; h < n; ++h)
        set.vecH.push_back(support::haplotype(support::random_alleles(n_loci, random)));
}

/// A tree of this numbering, as if it had been built.
haplotypeCluster tree_of(const genhap_set& set, const std::map<int, std::vector<int>>& clusters,
                         const std::vector<int>& assign, int cond_size, int min_size) {
    haplotypeCluster tree(&set);
    tree.nhap = static_cast<int>(assign.size());
    tree.clusters = clusters;
    tree.assign = assign;
    tree.cond_size = tree.ncond = cond_size;
    tree.min_size = min_size;
    return tree;
}

TEST(HaplotypeCluster, StartsEmpty) {
    const genhap_set set;
    const haplotypeCluster tree(&set);
    EXPECT_EQ(tree.GH, &set);
    EXPECT_TRUE(tree.clusters.empty());
    EXPECT_TRUE(tree.assign.empty());
}

TEST(HaplotypeCluster, CopiesAreIndependent) {
    const genhap_set set;
    haplotypeCluster tree = tree_of(set, {{0, {1, 2}}}, {0, 0, 0}, 2, 1);
    haplotypeCluster copy = tree;
    tree.clusters[0].push_back(3);
    tree.assign[0] = 5;
    EXPECT_EQ(copy.clusters.at(0), (std::vector<int>{1, 2}));
    EXPECT_EQ(copy.assign[0], 0);
}

TEST(Build, TakesItsSizesAndWholeBytes) {
    genhap_set set;
    fill(set, 200, 100, 1);
    haplotypeCluster tree(&set);
    putils::initRandom(1);
    tree.build(13, 91, 20.7F, 1.0F, 8);
    EXPECT_EQ(tree.start, 13);
    EXPECT_EQ(tree.stop, 91);
    EXPECT_EQ(tree.start8, 8);
    EXPECT_EQ(tree.stop8, 88);
    EXPECT_EQ(tree.span, 80);
    EXPECT_EQ(tree.nhap, 200);
    EXPECT_EQ(tree.ncond, 20) << "the whole part of the cluster size";
    EXPECT_EQ(tree.cond_size, 20);
    EXPECT_EQ(tree.min_size, 8);
    EXPECT_EQ(tree.n_means, 2);
    EXPECT_EQ(tree.max_iter, 20);
    tree.build(0, 100, 5.0F, 1.0F, 12);
    EXPECT_EQ(tree.cond_size, 12) << "at least the number of states";
    EXPECT_EQ(tree.ncond, 12);
}

TEST(Build, ClustersAreFullAndHoldTheirMembers) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        genhap_set set;
        fill(set, 150, 64, seed);
        haplotypeCluster tree(&set);
        putils::initRandom(seed);
        tree.build(0, 64, 15.0F, 1.0F, 5);
        ASSERT_EQ(tree.assign.size(), 150U);
        for (const auto& [number, members] : tree.clusters) {
            EXPECT_GE(static_cast<int>(members.size()), 15);
            for (const int h : members) {
                EXPECT_GE(h, 0);
                EXPECT_LT(h, 150);
            }
        }
        for (int h = 0; h < 150; ++h) EXPECT_TRUE(tree.clusters.contains(tree.assign[h])) << h;
    }
}

TEST(Build, ClusterSizeOfAllHaplotypesStopsTheRun) {
    const std::string message =
        "2*nsamples < cluster_size (c1).\n"
        "Note we suggest only using --fast when sample size > 10,000";
    for (const float size : {20.0F, 4000.0F})
        EXPECT_TRUE(support::stops_with(message, [=] {
            genhap_set set;
            fill(set, 20, 64, 1);
            haplotypeCluster(&set).build(0, 64, size, 1.0F, 5);
        }));
    EXPECT_TRUE(support::stops_with(message, [] {
        genhap_set set;
        fill(set, 20, 64, 1);
        haplotypeCluster(&set).build(0, 64, 2.0F, 1.0F, 20);
    })) << "as many states as haplotypes";
}

TEST(Build, EmptyWindowAborts) {
    EXPECT_TRUE(aborts_on("a<b", [] {
        genhap_set set;
        fill(set, 20, 64, 1);
        haplotypeCluster(&set).build(16, 16, 5.0F, 1.0F, 2);
    }));
}

TEST(Build, WindowWithoutAWholeByteAborts) {
    // No distances, so all haplotypes tie and go to the second half.
    EXPECT_TRUE(aborts_on("n.first>0&&n.second>0", [] {
        genhap_set set;
        fill(set, 1000, 64, 1);
        putils::initRandom(1);
        haplotypeCluster(&set).build(8, 15, 5.0F, 1.0F, 2);
    }));
}

// ---- mask

TEST(Mask, MarksBothClustersAndSomeOthersButNotTheIndividual) {
    const genhap_set set;
    // Individual 0 owns haplotypes 0 and 1, in clusters 0 and 4.
    const haplotypeCluster tree = tree_of(set, {{0, {0, 2, 4}}, {4, {1, 3}}, {1, {5, 6, 7, 8, 9, 10, 11}}},
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
        putils::initRandom(seed);
        haplotype_mask mask = {1, 1};
        EXPECT_EQ(tree.mask(0, mask), 0);
        EXPECT_EQ(mask, expected) << "seed " << seed;
        EXPECT_EQ(putils::getRandom(), random.draw());
    }
}

TEST(Mask, OfOneClusterForBothHaplotypes) {
    const genhap_set set;
    const haplotypeCluster tree =
        tree_of(set, {{0, {0, 1, 2, 3}}, {1, {4, 5, 6, 7}}}, {0, 0, 0, 0, 1, 1, 1, 1}, 4, 2);
    putils::initRandom(1);
    haplotype_mask mask;
    EXPECT_EQ(tree.mask(1, mask), 0);
    EXPECT_EQ(std::count(mask.begin(), mask.end(), true), 4) << "two of the cluster and two at random";
    EXPECT_TRUE(mask[0] && mask[1]);
    EXPECT_FALSE(mask[2] || mask[3]);
}

TEST(Mask, RandomOnesEndWhereNoneIsLeft) {
    const genhap_set set;
    const haplotypeCluster tree =
        tree_of(set, {{0, {0, 1, 2, 3, 4, 5, 6}}, {1, {7}}}, {0, 0, 0, 0, 0, 0, 0, 1}, 7, 5);
    putils::initRandom(1);
    haplotype_mask mask;
    EXPECT_EQ(tree.mask(0, mask), 0);
    EXPECT_EQ(mask, (haplotype_mask{0, 0, 1, 1, 1, 1, 1, 1}));
}

TEST(Mask, OfASetThatFitsInOneClusterIsAllOthers) {
    const genhap_set set;
    const haplotypeCluster tree = tree_of(set, {}, {0, 0, 0, 0, 0, 0}, 6, 2);
    putils::initRandom(1);
    haplotype_mask mask;
    EXPECT_EQ(tree.mask(1, mask), 0);
    EXPECT_EQ(mask, (haplotype_mask{1, 1, 0, 0, 1, 1}));
    EXPECT_EQ(putils::getRandom(), plain_generator(1).draw()) << "nothing was drawn";
}

TEST(Mask, IndividualBeyondTheSetAborts) {
    EXPECT_TRUE(aborts_on("curr_ind<nhap/2", [] {
        const genhap_set set;
        haplotype_mask mask;
        tree_of(set, {{0, {0, 1}}}, {0, 0, 0, 0}, 2, 1).mask(2, mask);
    }));
}

TEST(Mask, TooSmallClustersTellTheirSizesAndAbort) {
    const auto ask = [] {
        const genhap_set set;
        haplotype_mask mask;
        tree_of(set, {{0, {0}}, {1, {1, 2, 3}}}, {0, 1, 1, 1, 2, 2, 2, 2, 2, 2}, 5, 3).mask(0, mask);
    };
    EXPECT_TRUE(aborts_on("count>=ncond", ask));
    EXPECT_EQ(support::run_in_child(ask).out, "COUNT = 2\n1\n3\n");
}

// ---- filling up

TEST(TopupRandom, DrawsFromOtherClusters) {
    const genhap_set set;
    haplotypeCluster tree = tree_of(set, {{0, {0, 1}}, {5, {2, 3, 4}}, {9, {5}}}, {0, 0, 5, 5, 5, 9}, 3, 1);
    plain_generator random(2);
    std::map<int, std::vector<int>> expected = tree.clusters;
    for (auto& [number, members] : expected)
        while (members.size() < 3) {
            const int h = static_cast<int>(random.draw() * 6);
            if (tree.assign[h] != number) members.push_back(h);
        }
    putils::initRandom(2);
    EXPECT_EQ(tree.topupClusters_random(3), 0);
    EXPECT_EQ(tree.clusters, expected);
    EXPECT_EQ(putils::getRandom(), random.draw());
}

TEST(TopupRandom, EmptyClusterAborts) {
    for (const bool closest : {false, true})
        EXPECT_TRUE(aborts_on("it->second.size()>0", [=] {
            const genhap_set set;
            haplotypeCluster tree = tree_of(set, {{0, {}}}, {0, 0}, 2, 1);
            closest ? tree.topupClusters_closestN(2) : tree.topupClusters_random(2);
        }));
}

TEST(TopupClosest, TakesHaplotypesFromOutside) {
    genhap_set set;
    fill(set, 8, 16, 3);
    haplotypeCluster tree =
        tree_of(set, {{0, {0, 1}}, {1, {2, 3, 4, 5, 6, 7}}}, {0, 0, 1, 1, 1, 1, 1, 1}, 4, 1);
    tree.start8 = 0;
    tree.span = 16;
    EXPECT_EQ(tree.topupClusters_closestN(4), 0);
    ASSERT_EQ(tree.clusters[0].size(), 4U);
    EXPECT_EQ(tree.clusters[0][0], 0);
    EXPECT_EQ(tree.clusters[0][1], 1);
    for (int place = 2; place < 4; ++place) EXPECT_EQ(tree.assign[tree.clusters[0][place]], 1);
    EXPECT_EQ(tree.clusters[1].size(), 6U) << "full already";
}

// ---- small helpers

TEST(SetAF, FrequenciesOverTheWholeBytes) {
    genhap_set set;
    set.vecH = support::haplotypes(
        {"00000000 10000001", "00000000 11000000", "11111111 10000000", "00000000 10000000"});
    haplotypeCluster tree(&set);
    tree.nhap = 4;
    tree.start8 = 8;
    tree.span = 8;
    EXPECT_EQ(tree.setAF(), 0);
    EXPECT_EQ(tree.af, (std::vector<float>{1.0F, 0.25F, 0, 0, 0, 0, 0, 0.25F}));
}

TEST(SampleIndex, CountsDrawsAndNotNumbers) {
    for (int seed = 1; seed <= 20; ++seed) {
        plain_generator random(seed);
        std::set<int> expected;
        for (int draw = 0; draw < 10; ++draw) expected.insert(static_cast<int>(random.draw() * 15));
        putils::initRandom(seed);
        EXPECT_EQ(sampleIndex(10, 15), expected);
        EXPECT_EQ(putils::getRandom(), random.draw());
    }
    EXPECT_EQ(sampleIndex(5, 1), std::set<int>{0});
    EXPECT_TRUE(sampleIndex(0, 5).empty());
}

TEST(Set2vec, KeepsTheOrder) {
    EXPECT_EQ(set2vec({7, 1, 3}), (std::vector<int>{1, 3, 7}));
    EXPECT_TRUE(set2vec({}).empty());
}

}  // namespace
