#include "modules/clusterer.h"

#include <gtest/gtest.h>

#include <random>

#include "support/child_process.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "utils/putils.h"

namespace {

using support::log_capture;

/// Many haplotypes over variants at 0, 100, 200, ... bp.
struct cohort {
    explicit cohort(int n_loci = 320) {
        std::mt19937 random(1);
        for (int l = 0; l < n_loci; ++l) snps.put(new snp(100 * l, "A", "G"));
        set.snps = &snps;
        for (int h = 0; h < 200; ++h)
            set.vecH.push_back(support::haplotype(support::random_alleles(n_loci, random)));
    }
    snp_set snps;
    genhap_set set;
};

std::string line(int done, int total) {
    return "\rClustering in window [" + std::to_string(done) + "/" + std::to_string(total) + "]";
}

TEST(Clusterer, WithoutHaplotypesStopsTheRun) {
    EXPECT_TRUE(support::stops_with("clusterer module improperly initialised ptr == NULL!",
                                    [] { clusterer().cluster(); }));
}

TEST(Clusterer, BuildsATreeInEachWindow) {
    const log_capture capture;
    const cohort c;
    clusterer stage(&c.set, 20.0F, 1.0F, 5, 10000.0, 1);
    putils::initRandom(1);
    stage.cluster();
    // 31,900 bp by 10,000 are three windows.
    ASSERT_EQ(stage.boundaries.size(), 4U);
    ASSERT_EQ(stage.clusters.size(), 3U);
    std::vector<int> borders;
    putils::initRandom(1);
    EXPECT_EQ(c.snps.rpartition(10000.0, borders), 3);
    EXPECT_EQ(stage.boundaries, borders) << "the windows are drawn first";
    for (int w = 0; w < 3; ++w) {
        haplotypeCluster tree(&c.set);
        tree.build(borders[w], borders[w + 1], 20.0F, 1.0F, 5);
        EXPECT_EQ(stage.clusters[w].start, borders[w]);
        EXPECT_EQ(stage.clusters[w].stop, borders[w + 1]);
        EXPECT_EQ(stage.clusters[w].clusters, tree.clusters) << "then window after window";
        EXPECT_EQ(stage.clusters[w].assign, tree.assign);
    }
    EXPECT_EQ(capture.log(),
              "Partition of the map into windows\nBuilding 4 haplotypeCluster objects\n"
              "\nClustering in window ... \n\n");
    EXPECT_EQ(capture.console(),
              "Partition of the map into windows\nBuilding 4 haplotypeCluster objects\n\n" + line(1, 3) +
                  line(2, 3) + line(3, 3) + line(3, 3) + "\n");
}

TEST(Clusterer, OneWindowHasItsLineAndTheClosingOne) {
    const log_capture capture;
    const cohort c;
    clusterer stage(&c.set, 20.0F, 1.0F, 5, 1e6, 1);
    putils::initRandom(1);
    stage.cluster();
    EXPECT_EQ(stage.boundaries, (std::vector<int>{0, 320}));
    EXPECT_EQ(stage.clusters.size(), 1U);
    const std::string console = capture.console();
    EXPECT_EQ(console.substr(console.find('\r')), line(1, 1) + line(1, 1) + "\n");
}

TEST(Clusterer, WithThreadsEveryWindowHasItsTree) {
    for (const int n_threads : {2, 7}) {
        const log_capture capture;
        const cohort c;
        clusterer stage(&c.set, 20.0F, 1.0F, 5, 10000.0, n_threads);
        stage.cluster();
        ASSERT_EQ(stage.clusters.size(), 3U);
        for (int w = 0; w < 3; ++w) {
            EXPECT_EQ(stage.clusters[w].start, stage.boundaries[w]);
            EXPECT_EQ(stage.clusters[w].stop, stage.boundaries[w + 1]);
            EXPECT_FALSE(stage.clusters[w].clusters.empty());
            EXPECT_EQ(stage.clusters[w].assign.size(), 200U);
        }
        for (int done = 1; done <= 3; ++done)
            EXPECT_NE(capture.console().find(line(done, 3)), std::string::npos);
    }
}

TEST(Clusterer, FewerWindowsLeaveTheSurplusTrees) {
    const log_capture silenced;
    cohort c;
    clusterer stage(&c.set, 20.0F, 1.0F, 5, 10000.0, 1);
    putils::initRandom(1);
    stage.cluster();
    const haplotypeCluster last = stage.clusters[2];
    // Bringing the last variant nearer leaves room for two windows only.
    c.snps.getByIndex(319)->bp = 25000;
    stage.cluster();
    EXPECT_EQ(stage.boundaries.size(), 3U);
    ASSERT_EQ(stage.clusters.size(), 3U);
    EXPECT_EQ(stage.clusters[1].stop, 320);
    EXPECT_EQ(stage.clusters[2].start, last.start);
    EXPECT_EQ(stage.clusters[2].stop, last.stop);
    EXPECT_EQ(stage.clusters[2].clusters, last.clusters);
}

}  // namespace
