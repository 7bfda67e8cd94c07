#include "readers/genotype_reader.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <random>

#include "support/child_process.h"
#include "support/study.h"

namespace {

using support::stops_with;
using support::study;

TEST(PutInd, KeepsInOrderOfInput) {
    study s;
    EXPECT_TRUE(s.reader.putInd("Bob"));
    EXPECT_TRUE(s.reader.putInd("Ann"));
    EXPECT_TRUE(s.reader.putInd(""));
    EXPECT_EQ(s.reader.ind_ids, (std::vector<std::string>{"Bob", "Ann", ""}));
    EXPECT_EQ(s.reader.getInd("Bob"), 0);
    EXPECT_EQ(s.reader.getInd("Ann"), 1);
    EXPECT_EQ(s.reader.getInd(""), 2);
    EXPECT_EQ(s.reader.getInd("Cem"), -1);
    for (const auto* bits : {&s.reader.allele_a, &s.reader.allele_b, &s.reader.missing}) {
        ASSERT_EQ(bits->size(), 3U);
        for (const chaplotype& individual : *bits) EXPECT_EQ(individual.size(), 0);
    }
    EXPECT_TRUE(s.reader.ref_haps.empty());
}

TEST(PutInd, SecondOfOneNameStopsTheRun) {
    study s;
    s.reader.putInd("Ann");
    s.reader.putInd("Bob");
    EXPECT_TRUE(
        stops_with("Two individuals or more have the following ID : Ann", [&] { s.reader.putInd("Ann"); }));
}

TEST(PutInd, ExcludedOnesMayShareAName) {
    study s;
    s.filter.ind_exclude["Ann"] = false;
    EXPECT_FALSE(s.reader.putInd("Ann"));
    EXPECT_FALSE(s.reader.putInd("Ann"));
    EXPECT_TRUE(s.reader.ind_ids.empty());
    EXPECT_TRUE(s.reader.missing.empty());
    EXPECT_EQ(s.reader.getInd("Ann"), -1);
}

TEST(PutInd, DuplicatesAreFoundBeforeTheFilterIsAsked) {
    study s;
    s.reader.putInd("Ann");
    s.filter.ind_exclude["Ann"] = false;
    EXPECT_TRUE(
        stops_with("Two individuals or more have the following ID : Ann", [&] { s.reader.putInd("Ann"); }));
}

TEST(PutSnp, KeepsVariantsInOrder) {
    study s;
    EXPECT_TRUE(s.reader.putSnp(100, "rs1", "alt", "7", "A", "G"));
    EXPECT_TRUE(s.reader.putSnp(100, "rs2", "", "", "CT", "C")) << "two variants at one position";
    EXPECT_TRUE(s.reader.putSnp(250, "rs3", "", "", "T", ""));
    EXPECT_EQ(s.variants(), (std::vector<std::string>{"rs1:100:A:G", "rs2:100:CT:C", "rs3:250:T:"}));
    EXPECT_EQ(s.reader.snps->getByIndex(0)->cm, -1.0);
}

TEST(PutSnp, NegativePositionsAreRefusedSilently) {
    study s;
    EXPECT_TRUE(s.reader.putSnp(100, "rs1", "", "", "A", "G"));
    EXPECT_FALSE(s.reader.putSnp(-1, "rs2", "", "", "A", "G")) << "not even their order is looked at";
    EXPECT_EQ(s.reader.snps->size(), 1);
}

TEST(PutSnp, FallingPositionsStopTheRunEvenIfFilteredOut) {
    study s;
    s.filter.snp_exclude[99] = true;
    s.reader.putSnp(100, "rs1", "", "", "A", "G");
    for (const int pos : {99, 0})
        EXPECT_TRUE(stops_with(
            "Wrong ordering in physical positions curr_pos=" + std::to_string(pos) + " prev_pos=100",
            [&] { s.reader.putSnp(pos, "rs2", "", "", "A", "G"); }));
}

TEST(PutSnp, FilteredVariantsSetNoPosition) {
    study s;
    s.filter.snp_exclude[500] = true;
    EXPECT_TRUE(s.reader.putSnp(100, "rs1", "", "", "A", "G"));
    EXPECT_FALSE(s.reader.putSnp(500, "rs2", "", "", "A", "G"));
    EXPECT_TRUE(s.reader.putSnp(200, "rs3", "", "", "A", "G"));
    EXPECT_EQ(s.variants(), (std::vector<std::string>{"rs1:100:A:G", "rs3:200:A:G"}));
}

TEST(ResetSnp, MakesAllHomozygousAndCountsTheMissing) {
    study s({"0.2", "1.1", "2.0", "112"});
    EXPECT_EQ(s.reader.resetSnp(1), 3);
    EXPECT_EQ(s.genotypes(), (std::vector<std::string>{"002", "101", "200", "102"}));
    EXPECT_EQ(s.reader.resetSnp(0), 0);
    EXPECT_EQ(s.genotypes(), (std::vector<std::string>{"002", "001", "000", "002"}));
}

struct call_row {
    std::array<float, 3> p;
    double threshold;
    int call;
};

TEST(HardCall, ByHand) {
    for (const call_row& r : {call_row{{0.95F, 0.05F, 0.0F}, 0.9, 0}, call_row{{0.05F, 0.95F, 0.0F}, 0.9, 1},
                              call_row{{0.0F, 0.0F, 1.0F}, 0.9, 2}, call_row{{0.4F, 0.4F, 0.2F}, 0.9, -1},
                              call_row{{0.75F, 0.25F, 0.0F}, 0.75, 0}, call_row{{0.4F, 0.4F, 0.2F}, -1.0, 0},
                              call_row{{0.2F, 0.4F, 0.4F}, -1.0, 1}, call_row{{0.4F, 0.2F, 0.4F}, -1.0, 0},
                              call_row{{0.1F, 0.2F, 0.7F}, -0.5, 2}, call_row{{1.0F, 0.0F, 0.0F}, 1.0, 0},
                              call_row{{1.0F, 0.0F, 0.0F}, 0.0, 2}, call_row{{0.0F, 0.0F, 0.0F}, 0.0, 2},
                              // 0.9 as float lies below 0.9 as double.
                              call_row{{0.9F, 0.1F, 0.0F}, 0.9, -1}}) {
        std::array<float, 3> p = r.p;
        long n_missing = 10, n_called = 20;
        EXPECT_EQ(hard_call(p[0], p[1], p[2], r.threshold, n_missing, n_called), r.call);
        EXPECT_EQ(n_missing, r.call < 0 ? 11 : 10);
        EXPECT_EQ(n_called, r.call < 0 ? 20 : 21);
        for (int g = 0; g < 3; ++g)
            EXPECT_EQ(p[g], r.call < 0 ? r.p[g] : g == r.call ? 1.0F : 0.0F) << "probability of " << g;
    }
}

TEST(HardCall, TakesAGenotypeThatReachesTheThresholdOrTheFirstLargest) {
    std::mt19937 random(1);
    for (int trial = 0; trial < 2000; ++trial) {
        std::array<float, 3> p{};
        for (float& q : p) q = static_cast<float>(random() % 5) / 8.0F;
        const double threshold = 0.55 + 0.05 * static_cast<double>(random() % 9);
        long n_missing = 0, n_called = 0;
        std::array<float, 3> q = p;
        // Above one half the values here pass one at most; the sums play no part.
        int expected = -1;
        for (int g = 2; g >= 0 && expected < 0; --g)
            if (p[g] >= threshold) expected = g;
        const int n_reached = (p[0] >= threshold) + (p[1] >= threshold) + (p[2] >= threshold);
        if (n_reached < 2) {
            EXPECT_EQ(hard_call(q[0], q[1], q[2], threshold, n_missing, n_called), expected);
        }
        q = p;
        expected = 0;
        for (int g = 1; g < 3; ++g)
            if (p[g] > p[expected]) expected = g;
        EXPECT_EQ(hard_call(q[0], q[1], q[2], -1.0, n_missing, n_called), expected);
    }
}

}  // namespace
