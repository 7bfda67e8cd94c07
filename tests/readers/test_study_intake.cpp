#include "readers/study_intake.h"

#include <gtest/gtest.h>

#include "support/child_process.h"

namespace {

using support::stops_with;

/// An intake whose filter keeps everything unless the test changes it.
struct open_intake {
    open_intake() { filter.initialise(0, 2147483647); }
    filter_reader filter;
    study_intake intake{filter};
};

TEST(KeepsIndividual, DuplicateIdentifierStopsTheRun) {
    open_intake s;
    EXPECT_TRUE(s.intake.keeps_individual("Ann"));
    EXPECT_TRUE(s.intake.keeps_individual("Bob"));
    EXPECT_TRUE(s.intake.keeps_individual(""));
    EXPECT_TRUE(stops_with("Two individuals or more have the following ID : Ann",
                           [&] { s.intake.keeps_individual("Ann"); }));
}

TEST(KeepsIndividual, ExcludedIndividualsMayShareAnIdentifier) {
    open_intake s;
    s.filter.ind_exclude["Ann"] = false;
    EXPECT_FALSE(s.intake.keeps_individual("Ann"));
    EXPECT_FALSE(s.intake.keeps_individual("Ann"));
}

TEST(KeepsIndividual, DuplicatesAreFoundBeforeFiltering) {
    open_intake s;
    s.intake.keeps_individual("Ann");
    s.filter.ind_exclude["Ann"] = false;
    EXPECT_TRUE(stops_with("Two individuals or more have the following ID : Ann",
                           [&] { s.intake.keeps_individual("Ann"); }));
}

TEST(KeepsVariant, PositionsMayRepeatAndIncrease) {
    open_intake s;
    for (const int position : {0, 100, 100, 250}) EXPECT_TRUE(s.intake.keeps_variant(position));
}

TEST(KeepsVariant, NegativePositionsAreDroppedSilently) {
    open_intake s;
    EXPECT_TRUE(s.intake.keeps_variant(100));
    EXPECT_FALSE(s.intake.keeps_variant(-1)) << "their order is not checked";
    EXPECT_TRUE(s.intake.keeps_variant(100));
}

TEST(KeepsVariant, DecreasingPositionsStopTheRunEvenIfFilteredOut) {
    open_intake s;
    s.filter.snp_exclude[99] = true;
    s.intake.keeps_variant(100);
    for (const int position : {99, 0})
        EXPECT_TRUE(stops_with(
            "Wrong ordering in physical positions curr_pos=" + std::to_string(position) + " prev_pos=100",
            [&] { s.intake.keeps_variant(position); }));
}

TEST(KeepsVariant, FilteredVariantsDoNotCountForTheOrder) {
    open_intake s;
    s.filter.snp_exclude[500] = true;
    EXPECT_TRUE(s.intake.keeps_variant(100));
    EXPECT_FALSE(s.intake.keeps_variant(500));
    EXPECT_TRUE(s.intake.keeps_variant(200));
}

}  // namespace
