#include "containers/genhap_set.h"

#include <gtest/gtest.h>

#include "support/graph_text.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "support/study.h"

namespace {

using support::built_from;
using support::log_capture;
using support::study;

std::vector<genotype_graph*> graphs_of(const std::vector<std::string>& genotypes) {
    std::vector<genotype_graph*> graphs;
    for (const std::string& text : genotypes) graphs.push_back(new genotype_graph(built_from(text)));
    return graphs;
}

void put_variants(snp_set& set, int n) {
    for (int v = 0; v < n; ++v) set.put(new snp(v, "A", "G"));
}

TEST(GenhapSet, GivesEachIndividualTwoHaplotypesOfZeros) {
    snp_set snps;
    put_variants(snps, 11);
    const auto graphs = graphs_of({"01201201201", "11111111111", "0.0.0.0.0.0"});
    genhap_set set;
    set.initialise(graphs, &snps);
    EXPECT_EQ(set.vecG, graphs) << "the graphs themselves, in order";
    EXPECT_EQ(set.snps, &snps);
    ASSERT_EQ(set.vecH.size(), 6U);
    for (const chaplotype& h : set.vecH) EXPECT_EQ(h.toString(), "00000000000");
    EXPECT_EQ(set.time_hamming, 0);
}

TEST(GenhapSet, PanelFollowsTheIndividuals) {
    snp_set snps;
    put_variants(snps, 3);
    study s;
    s.reader.ref_haps = support::haplotypes({"01011", "11100", "00000"});
    genhap_set set;
    set.initialise(graphs_of({"012"}), &snps);
    set.initialise(s.reader);
    ASSERT_EQ(set.vecH.size(), 5U);
    EXPECT_EQ(set.vecH[0].toString(), "000");
    EXPECT_EQ(set.vecH[2].toString(), "01011") << "as long as the panel's legend";
    EXPECT_EQ(set.vecH[3].toString(), "11100");
    EXPECT_EQ(set.vecH[4].toString(), "00000");
}

TEST(Summarise, TellsTheSizeOfTheGraphs) {
    const log_capture capture;
    snp_set snps;
    put_variants(snps, 4);
    genhap_set set;
    // "1111" has 2 segments and groups of 4, 8 and 1 transitions, "0000" 1 segment and twice 1.
    set.initialise(graphs_of({"1111", "0000"}), &snps);
    set.summarise();
    EXPECT_EQ(capture.log(), "  * 2 graphs / 3 segments / ~2 SNPs per segment / 15 transitions\n");
    EXPECT_EQ(capture.console(), capture.log());
}

TEST(Summarise, HasNothingToTellOfNobody) {
    const log_capture capture;
    snp_set snps;
    put_variants(snps, 4);
    genhap_set set;
    set.summarise();
    set.initialise({}, &snps);
    set.summarise();
    EXPECT_EQ(capture.log(), "");
    EXPECT_EQ(capture.console(), "");
}

TEST(Summarise, NoSegmentsNoLine) {
    const log_capture capture;
    snp_set snps;
    genhap_set set;
    set.initialise({new genotype_graph("NA1")}, &snps);
    set.summarise();
    EXPECT_EQ(capture.log(), "");
}

}  // namespace
