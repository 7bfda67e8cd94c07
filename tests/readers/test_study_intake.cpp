#include "readers/study_intake.h"

#include <gtest/gtest.h>

#include "support/child_process.h"
#include "utils/lfile.h"

namespace {

using support::stops_with;

const std::string FILE_NAME = "study.fam";
const input_line AT = {FILE_NAME, 7};

/// An intake whose filter keeps everything unless the test changes it.
struct open_intake {
    open_intake() { filter.initialise(0, 2147483647); }
    filter_reader filter;
    study_intake intake{filter};
};

TEST(KeepsIndividual, DuplicateIdentifierStopsTheRun) {
    open_intake s;
    EXPECT_TRUE(s.intake.keeps_individual("Ann", AT));
    EXPECT_TRUE(s.intake.keeps_individual("Bob", AT));
    EXPECT_TRUE(s.intake.keeps_individual("", AT));
    EXPECT_TRUE(stops_with("Two individuals or more have the following ID : Ann",
                           [&] { s.intake.keeps_individual("Ann", AT); }));
}

TEST(KeepsIndividual, ExcludedIndividualsMayShareAnIdentifier) {
    open_intake s;
    s.filter.ind_exclude["Ann"] = false;
    EXPECT_FALSE(s.intake.keeps_individual("Ann", AT));
    EXPECT_FALSE(s.intake.keeps_individual("Ann", AT));
}

TEST(KeepsIndividual, DuplicatesAreFoundBeforeFiltering) {
    open_intake s;
    s.intake.keeps_individual("Ann", AT);
    s.filter.ind_exclude["Ann"] = false;
    EXPECT_TRUE(stops_with("Two individuals or more have the following ID : Ann",
                           [&] { s.intake.keeps_individual("Ann", AT); }));
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

TEST(KeepsVariant, ThoseOfTheRegion) {
    open_intake s;
    study_intake intake(s.filter, {.region = genome_region{"chr20", 100, 200}});
    EXPECT_FALSE(intake.keeps_variant(99, "20"));
    EXPECT_TRUE(intake.keeps_variant(100, "20"));
    EXPECT_FALSE(intake.keeps_variant(150, "21"));
    EXPECT_TRUE(intake.keeps_variant(200, ""));
    EXPECT_FALSE(intake.keeps_variant(201, "20"));
    EXPECT_FALSE(intake.keeps_variant(1, "21")) << "the order of other chromosomes does not matter";
    EXPECT_EQ(intake.chromosome_or("5"), "5");
    EXPECT_EQ(intake.chromosome_or(""), "chr20");
    EXPECT_EQ(s.intake.chromosome_or(""), "");
}

/// Makes the runs of a test strict.
struct strict_runs {
    strict_runs() { LOG.setStrictness(strictness::strict); }
    ~strict_runs() { LOG.setStrictness(strictness::lenient); }
};

TEST(CheckChromosome, RefusesASecondOne) {
    const strict_runs strict;
    open_intake s;
    s.intake.check_chromosome("20", AT);
    s.intake.check_chromosome("20", AT);
    EXPECT_TRUE(
        stops_with("study.fam line 7: found chromosome chr20, expected the same chromosome as before, 20 "
                   "[one-chromosome]",
                   [&] { s.intake.check_chromosome("chr20", AT); }));
}

TEST(CheckChromosome, RefusesThoseThatMalesHaveOnce) {
    const strict_runs strict;
    for (const char* name : {"X", "x", "chrX", "ChrY", "MT", "M", "chrM", "0X", "23", "24", "26"}) {
        open_intake s;
        EXPECT_TRUE(support::stops_naming({std::string("found chromosome ") + name, "[autosome]"}, [&] {
            s.intake.check_chromosome(name, AT);
        })) << name;
    }
    open_intake told;
    study_intake(told.filter, {.names_haploid = true}).check_chromosome("X", AT);
    for (const char* name : {"1", "22", "chr3", "XY", "25", "0", "2A", "chr", "scaffold_X"}) {
        open_intake s;
        s.intake.check_chromosome(name, AT);
    }
}

TEST(CheckIdentifier, RefusesControlCharactersIfStrict) {
    check_identifier("a\rb", AT);
    const strict_runs strict;
    for (const char* id : {"Ann", "J\xC3\xB6rg", "", "a b"}) check_identifier(id, AT);
    for (const char* id : {"a\rb", "\x7F", "\x01"})
        EXPECT_TRUE(
            support::stops_naming({"study.fam line 7: ", "[identifier]"}, [&] { check_identifier(id, AT); }));
}

}  // namespace
