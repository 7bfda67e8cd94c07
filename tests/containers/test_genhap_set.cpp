#include "containers/genhap_set.h"

#include <gtest/gtest.h>

#include "support/graph_text.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"

namespace {

using support::built_from;
using support::log_capture;

std::vector<genotype_graph> graphs_of(const std::vector<std::string>& genotypes) {
    std::vector<genotype_graph> graphs;
    for (const std::string& text : genotypes) graphs.push_back(built_from(text));
    return graphs;
}

snp_set variants(int n) {
    snp_set set;
    for (int v = 0; v < n; ++v) set.put(snp(100 * v + 50, "A", "G"));
    return set;
}

TEST(GenhapSet, GivesEachIndividualTwoHaplotypesOfZeros) {
    const genhap_set set(variants(11), graphs_of({"01201201201", "11111111111", "0.0.0.0.0.0"}));
    EXPECT_EQ(set.n_individuals(), 3);
    EXPECT_EQ(set.n_haplotypes(), 6);
    EXPECT_EQ(set.snps.size(), 11);
    EXPECT_EQ(set.span(), 1000);
    ASSERT_EQ(set.vecG.size(), 3U);
    EXPECT_EQ(set.vecG[2].n_loci(), 11);
    for (const chaplotype& h : set.vecH) EXPECT_EQ(h.toString(), "00000000000");
    EXPECT_EQ(haplotypes_of(2), (haplotype_indexes{4, 5}));
}

TEST(GenhapSet, PanelFollowsTheIndividuals) {
    const genhap_set set(variants(3), graphs_of({"012"}), support::haplotypes({"01011", "11100", "00000"}));
    EXPECT_EQ(set.n_individuals(), 1);
    ASSERT_EQ(set.n_haplotypes(), 5);
    EXPECT_EQ(set.vecH[0].toString(), "000");
    EXPECT_EQ(set.vecH[2].toString(), "01011") << "as many loci as the legend has lines";
    EXPECT_EQ(set.vecH[3].toString(), "11100");
    EXPECT_EQ(set.vecH[4].toString(), "00000");
}

TEST(Summarise, PrintsTheSizeOfTheGraphs) {
    const log_capture capture;
    // "1111" has 2 segments and groups of 4, 8 and 1 transitions; "0000" has 1 segment and two groups of 1.
    genhap_set(variants(4), graphs_of({"1111", "0000"})).summarise();
    EXPECT_EQ(capture.log(), "  * 2 graphs / 3 segments / ~2 SNPs per segment / 15 transitions\n");
    EXPECT_EQ(capture.console(), capture.log());
}

TEST(Summarise, WithoutIndividualsPrintsNothing) {
    const log_capture capture;
    genhap_set().summarise();
    genhap_set(variants(4), {}).summarise();
    EXPECT_EQ(capture.log(), "");
    EXPECT_EQ(capture.console(), "");
}

TEST(Summarise, WithoutSegmentsPrintsNothing) {
    const log_capture capture;
    std::vector<genotype_graph> graphs;
    graphs.emplace_back("NA1");
    genhap_set({}, graphs).summarise();
    EXPECT_EQ(capture.log(), "");
}

TEST(EqualiseHaploid, CopiesTheFirstHaplotypeWhereAnIndividualIsHaploid) {
    genhap_set set(variants(11), graphs_of({"00000000000", "00000000000"}));
    const auto sample = [&] {
        for (const int h : {0, 2}) set.vecH[h] = support::haplotype("01010101010");
        for (const int h : {1, 3}) set.vecH[h] = support::haplotype("11001100110");
        for (const int ind : {0, 1}) set.equalise_haploid(ind);
    };
    sample();
    EXPECT_EQ(set.vecH[3].toString(), "11001100110") << "nobody is haploid";
    set.haploid = {support::haplotype("00000000000"), support::haplotype("11110000001")};
    sample();
    EXPECT_EQ(set.vecH[1].toString(), "11001100110");
    EXPECT_EQ(set.vecH[2].toString(), "01010101010");
    EXPECT_EQ(set.vecH[3].toString(), "01011100110");
}

}  // namespace
