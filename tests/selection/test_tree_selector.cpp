#include "selection/tree_selector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/haplotype_text.h"
#include "support/log_capture.h"

namespace {

using support::log_capture;

/// Many haplotypes, without individuals, over variants at 0, 100, 200, ... bp.
genhap_set cohort(int n_loci = 320) {
    std::mt19937 random(1);
    snp_set snps;
    for (int l = 0; l < n_loci; ++l) snps.put(snp(100 * l, "A", "G"));
    std::vector<chaplotype> H;
    for (int h = 0; h < 200; ++h) H.push_back(support::haplotype(support::random_alleles(n_loci, random)));
    return {std::move(snps), {}, std::move(H)};
}

/// An individual whose graph has a segment for each of the 320 loci, so that a segment starts at each border.
genotype_graph graph_of_single_loci() {
    genotype_graph graph("NA1");
    for (int l = 0; l < 320; ++l) graph.pushHaps(chaplotype(1U), 1);
    graph.site_missing = chaplotype(320U);
    return graph;
}

std::string line(int done, int total) {
    return "\rClustering in window [" + std::to_string(done) + "/" + std::to_string(total) + "]";
}

TEST(TreeSelector, BuildsATreeInEachWindow) {
    const log_capture capture;
    const genhap_set set = cohort();
    worker_team team(1);
    tree_selector selector(set, 5, 20, 10000.0, team);
    random_source draws(1);
    selector.prepare(true, draws);
    // 31,900 bp in windows of 10,000 bp are three windows.
    random_source plain(1);
    const std::vector<int> borders = set.snps.rpartition(10000.0, plain);
    ASSERT_EQ(borders.size(), 4U);
    EXPECT_EQ(selector.borders(), borders) << "the windows are drawn first";
    ASSERT_EQ(selector.trees().size(), 3U);
    for (int w = 0; w < 3; ++w) {
        const haplotypeCluster tree =
            haplotypeCluster_builder(set.vecH, 20, 5, team).build(borders[w], borders[w + 1], plain);
        EXPECT_EQ(selector.trees()[w].start(), borders[w]);
        EXPECT_EQ(selector.trees()[w].stop(), borders[w + 1]);
        EXPECT_EQ(selector.trees()[w].clusters(), tree.clusters())
            << "then the trees, one window after another";
        EXPECT_EQ(selector.trees()[w].assign(), tree.assign());
    }
    EXPECT_EQ(draws.draw(), plain.draw());
    EXPECT_EQ(capture.log(),
              "Partition of the map into windows\nBuilding 4 haplotypeCluster objects\n"
              "\nClustering in window ... \n\n");
    EXPECT_EQ(capture.console(),
              "Partition of the map into windows\nBuilding 4 haplotypeCluster objects\n\n" + line(1, 3) +
                  line(2, 3) + line(3, 3) + line(3, 3) + "\n");
}

TEST(TreeSelector, KeepsItsTreesUntilTheyAreRenewed) {
    const log_capture silenced;
    const genhap_set set = cohort();
    worker_team team(1);
    tree_selector selector(set, 5, 20, 10000.0, team);
    random_source draws(1), plain(2);
    selector.prepare(true, draws);
    const std::vector<int> assign = selector.trees()[1].assign();
    random_source untouched(2);
    selector.prepare(false, untouched);
    EXPECT_EQ(selector.trees()[1].assign(), assign);
    EXPECT_EQ(untouched.draw(), plain.draw()) << "takes no draw";
    selector.prepare(true, draws);
    EXPECT_NE(selector.trees()[1].assign(), assign);
}

// Halves of the first split are smaller than a cluster of 110. Their lists are filled up with entries that
// the builder of the window has kept, also from its tree before a renewal.
TEST(TreeSelector, EachWindowKeepsItsBuilder) {
    const log_capture silenced;
    const genhap_set set = cohort();
    worker_team team(1);
    tree_selector selector(set, 5, 110, 10000.0, team);
    random_source draws(1), plain(1);
    std::vector<haplotypeCluster_builder> builders(3, haplotypeCluster_builder(set.vecH, 110, 5, team));
    for (int renewal = 0; renewal < 3; ++renewal) {
        selector.prepare(true, draws);
        const std::vector<int> borders = set.snps.rpartition(10000.0, plain);
        ASSERT_EQ(borders.size(), 4U);
        for (int w = 0; w < 3; ++w)
            EXPECT_EQ(selector.trees()[w].clusters(),
                      builders[w].build(borders[w], borders[w + 1], plain).clusters())
                << "renewal " << renewal << ", window " << w;
    }
}

TEST(TreeSelector, ThreadsGiveTheSameTrees) {
    const log_capture silenced;
    const genhap_set set = cohort();
    worker_team alone(1);
    tree_selector expected(set, 5, 20, 10000.0, alone);
    random_source one(1);
    expected.prepare(true, one);
    for (const int n_threads : {2, 7}) {
        worker_team team(n_threads);
        tree_selector selector(set, 5, 20, 10000.0, team);
        random_source draws(1), after = one;
        selector.prepare(true, draws);
        ASSERT_EQ(selector.trees().size(), 3U);
        for (int w = 0; w < 3; ++w) {
            EXPECT_EQ(selector.trees()[w].clusters(), expected.trees()[w].clusters());
            EXPECT_EQ(selector.trees()[w].assign(), expected.trees()[w].assign());
        }
        EXPECT_EQ(draws.draw(), after.draw());
    }
}

// The end of a window is exclusive, but a job also has the segment that starts there, so that neighbouring
// windows always share a segment.
TEST(TreeSelector, JobsOfNeighbouringWindowsShareASegment) {
    const log_capture silenced;
    genhap_set set = cohort();
    set.vecG.push_back(graph_of_single_loci());
    worker_team team(1);
    tree_selector selector(set, 5, 20, 10000.0, team);
    random_source draws(1);
    selector.prepare(true, draws);
    const std::vector<int>& borders = selector.borders();
    ASSERT_EQ(borders.size(), 4U);
    const std::vector<phasing_job> jobs = selector.list_jobs(draws);
    ASSERT_EQ(jobs.size(), 3U);
    for (int w = 0; w < 3; ++w) {
        const int last = std::min(borders[w + 1], 319);
        EXPECT_EQ(jobs[w].individual, 0);
        EXPECT_EQ(jobs[w].window, w);
        EXPECT_EQ(jobs[w].range, (segment_range{borders[w], last, borders[w], last}));
    }
}

TEST(TreeSelector, FewerWindowsKeepTheSurplusTrees) {
    const log_capture silenced;
    genhap_set set = cohort();
    set.vecG.push_back(graph_of_single_loci());
    worker_team team(1);
    tree_selector selector(set, 5, 20, 10000.0, team);
    random_source draws(1);
    selector.prepare(true, draws);
    const haplotypeCluster last = selector.trees()[2];
    // Moving the last variant closer leaves room for only two windows.
    set.snps.getByIndex(319)->bp = 25000;
    selector.prepare(true, draws);
    EXPECT_EQ(selector.borders().size(), 3U);
    ASSERT_EQ(selector.trees().size(), 3U);
    EXPECT_EQ(selector.trees()[1].stop(), 320);
    EXPECT_EQ(selector.trees()[2].start(), last.start());
    EXPECT_EQ(selector.trees()[2].stop(), last.stop());
    EXPECT_EQ(selector.trees()[2].clusters(), last.clusters());
    const std::vector<phasing_job> jobs = selector.list_jobs(draws);
    ASSERT_EQ(jobs.size(), 3U) << "the surplus window has its job too";
    EXPECT_EQ(jobs[2].range.first_locus, last.start());
}

}  // namespace
