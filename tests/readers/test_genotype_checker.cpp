#include "readers/genotype_checker.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/child_process.h"
#include "support/files.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "support/study.h"
#include "utils/futils.h"
#include "utils/lfile.h"

namespace {

using support::log_capture;
using support::read_file;
using support::stops_with;
using support::study;

const std::string HEADING = "\nChecking missingness and MAF...\n";

std::string side_file(const log_capture& capture, const std::string& ending) {
    return read_file(capture.folder().at("run" + ending));
}

TEST(GenotypeChecker, CountsGoIntoSideFiles) {
    const log_capture capture;
    study s({"0.20", "1120", "2.20", "0120", "1122"});
    genotype_checker(s.reader).checkGenotypeData();
    EXPECT_EQ(side_file(capture, ".ind.mm"), "id\tmissing\nI0\t1\nI1\t0\nI2\t1\nI3\t0\nI4\t0\n");
    EXPECT_EQ(side_file(capture, ".snp.mm"),
              "id\tposition\tA\tB\tmissing\tcount_A_total\tcount_B_total\n"
              "rs0\t100\t6\t4\n"
              "rs1\t200\t3\t3\n"
              "rs2\t300\t0\t10\n"
              "rs3\t400\t8\t2\n");
}

TEST(GenotypeChecker, SideFilesAreNamedAfterTheLog) {
    const log_capture capture;
    LOG.close();
    LOG.open(capture.folder().at("my.run.log"));
    study s({"01", "10"});
    genotype_checker(s.reader).checkGenotypeData();
    EXPECT_EQ(read_file(capture.folder().at("my.run.ind.mm")), "id\tmissing\nI0\t0\nI1\t0\n");
    EXPECT_NE(read_file(capture.folder().at("my.run.snp.mm")), "");
}

TEST(GenotypeChecker, CleanDataGivesTheHeadingAlone) {
    const log_capture capture;
    study s({"0112", "1021", "2110"});
    const auto before = s.genotypes();
    genotype_checker(s.reader).checkGenotypeData();
    EXPECT_EQ(capture.log(), HEADING);
    EXPECT_EQ(capture.console(), HEADING);
    EXPECT_EQ(s.genotypes(), before);
}

struct repair_row {
    const char* name;
    std::vector<std::string> genotypes;  // of one variant
    const char *a0, *a1;
    std::string expected;  // genotypes of all individuals
    const char* variant;
    const char* counts;
    const char* log;
};

TEST(GenotypeChecker, RepairsMonomorphicVariants) {
    for (const repair_row& r : std::vector<repair_row>{
             {"only a0", {"0", "0"}, "A", "G", "00", "A:G", "4\t0", "  * 1 monomorphic SNPs\n"},
             {"only a1", {"2", "2"}, "A", "G", "00", "G:A", "0\t4", "  * 1 monomorphic SNPs\n"},
             {"only a0 of an absent a1",
              {"0", "0"},
              "A",
              "0",
              "00",
              "A:A",
              "4\t0",
              "  * 1 monomorphic SNPs\n"},
             {"only a0 and no a1", {"0", "0"}, "A", "", "00", "A:A", "4\t0", "  * 1 monomorphic SNPs\n"},
             {"only a1 of an absent a0",
              {"2", "2"},
              "0",
              "G",
              "00",
              "G:G",
              "0\t4",
              "  * 1 monomorphic SNPs\n"},
             {"one missing",
              {"0", ".", "0"},
              "A",
              "G",
              "000",
              "A:G",
              "4\t0",
              "  * 1 SNPs with high rates of missing data (>5%)\n  * 1 monomorphic SNPs\n"
              "  * 1 missing genotypes automatically imputed at monomorphic SNPs\n"},
             {"missing beside a1",
              {"2", ".", "."},
              "A",
              "G",
              "000",
              "G:A",
              "0\t2",
              "  * 1 SNPs with high rates of missing data (>5%)\n  * 1 monomorphic SNPs\n"
              "  * 2 missing genotypes automatically imputed at monomorphic SNPs\n"},
             {"a lone heterozygote",
              {"0", "1", "0"},
              "A",
              "G",
              "010",
              "A:G",
              "5\t1",
              "  * 1 singletons SNPs\n"},
             {"a lone a0", {"2", "1"}, "A", "G", "21", "A:G", "1\t3", "  * 1 singletons SNPs\n"},
             {"two copies are no singleton", {"2", "0", "0"}, "A", "G", "200", "A:G", "4\t2", ""},
             {"missing ones stay where both alleles are seen",
              {"2", "0", "."},
              "A",
              "G",
              "20.",
              "A:G",
              "2\t2",
              "  * 1 SNPs with high rates of missing data (>5%)\n"}}) {
        const log_capture capture;
        // Many other variants, of both alleles twice at least, keep the individuals' missing rates low.
        std::vector<std::string> genotypes;
        for (const std::string& own : r.genotypes)
            genotypes.push_back(own + std::string(40, genotypes.empty() ? '2' : '0'));
        study s(genotypes);
        snp* variant = s.reader.snps->getByIndex(0);
        variant->a0 = r.a0;
        variant->a1 = r.a1;
        genotype_checker(s.reader).checkGenotypeData();
        std::string after;
        for (const std::string& own : s.genotypes()) after += own[0];
        EXPECT_EQ(after, r.expected) << r.name;
        EXPECT_EQ(variant->a0 + ":" + variant->a1, r.variant) << r.name;
        EXPECT_NE(side_file(capture, ".snp.mm").find(std::string("rs0\t100\t") + r.counts + "\n"),
                  std::string::npos)
            << r.name;
        EXPECT_EQ(capture.log(), HEADING + r.log) << r.name;
    }
}

TEST(GenotypeChecker, LoneHeterozygoteHasTwoSingleAlleles) {
    const log_capture capture;
    study s({"1"});
    genotype_checker(s.reader).checkGenotypeData();
    EXPECT_EQ(capture.log(), HEADING + "  * 1 singletons SNPs\n") << "the variant counts once";
}

TEST(GenotypeChecker, PanelKeepsItsBitsWhereAVariantIsTurned) {
    const log_capture capture;
    study s({"21", "20"});
    s.reader.ref_haps = support::haplotypes({"10", "01"});
    genotype_checker(s.reader).checkGenotypeData();
    EXPECT_EQ(s.reader.snps->getByIndex(0)->a0, "G");
    EXPECT_EQ(s.reader.ref_haps[0].toString(), "10");
    EXPECT_EQ(s.reader.ref_haps[1].toString(), "01");
}

TEST(GenotypeChecker, MoreThanFivePercentIsHigh) {
    const std::string high_ind = "  * 1 individuals with high rates of missing data (>5%)\n";
    const std::string high_snp = "  * 1 SNPs with high rates of missing data (>5%)\n";
    for (const int n_missing : {4, 5, 6}) {
        const log_capture capture;
        std::vector<std::string> genotypes(100, std::string(100, '0'));
        for (int i = 0; i < 10; ++i) genotypes[i] = std::string(100, '2');
        for (int v = 0; v < n_missing; ++v) genotypes[50][v] = '.';
        study s(genotypes);
        genotype_checker(s.reader).checkGenotypeData();
        EXPECT_EQ(capture.log(), HEADING + (n_missing > 5 ? high_ind : ""))
            << n_missing << " of 100 variants";
    }
    for (const int n_missing : {4, 5, 6}) {
        const log_capture capture;
        std::vector<std::string> genotypes(100, std::string(100, '0'));
        for (int i = 0; i < 10; ++i) genotypes[i] = std::string(100, '2');
        for (int i = 0; i < n_missing; ++i) genotypes[50 + i][7] = '.';
        study s(genotypes);
        genotype_checker(s.reader).checkGenotypeData();
        EXPECT_EQ(capture.log(), HEADING + (n_missing > 5 ? high_snp : ""))
            << n_missing << " of 100 individuals";
    }
}

TEST(GenotypeChecker, LinesComeInOrder) {
    const log_capture capture;
    study s({"02.1", "00.2", "02.2", ".000", "0012"});
    genotype_checker(s.reader).checkGenotypeData();
    EXPECT_EQ(capture.log(), HEADING +
                                 "  * 4 individuals with high rates of missing data (>5%)\n"
                                 "  * 2 SNPs with high rates of missing data (>5%)\n"
                                 "  * 1 monomorphic SNPs\n"
                                 "  * 1 missing genotypes automatically imputed at monomorphic SNPs\n"
                                 "  * 1 singletons SNPs\n");
}

/// Whether the checks stop with this message, having repaired and written nothing.
void expect_stop(const std::vector<std::string>& genotypes, const std::string& message) {
    const log_capture capture;
    EXPECT_TRUE(stops_with(message, [&] {
        study s(genotypes);
        genotype_checker(s.reader).checkGenotypeData();
    }));
    EXPECT_EQ(capture.log().find("monomorphic"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(capture.folder().at("run.ind.mm")));
    EXPECT_FALSE(std::filesystem::exists(capture.folder().at("run.snp.mm")));
}

TEST(GenotypeChecker, FullyMissingDataStopsTheRun) {
    expect_stop({"0120", "....", "1102", "...."}, "2 fully missing individuals (=100%)");
    expect_stop({"0.20", "1.12"}, "1 fully missing SNPs (=100%)");
    expect_stop({"....", "...."}, "2 fully missing individuals (=100%)");
}

TEST(GenotypeChecker, NothingToPhaseStopsTheRun) {
    expect_stop({"", "", ""}, "3 fully missing individuals (=100%)");
    expect_stop({}, "0 fully missing individuals (=100%)");
    const log_capture capture;
    EXPECT_TRUE(stops_with("2 fully missing SNPs (=100%)", [] {
        study s;
        s.reader.putSnp(100, "rs1", "", "", "A", "G");
        s.reader.putSnp(200, "rs2", "", "", "A", "G");
        genotype_checker(s.reader).checkGenotypeData();
    }));
}

TEST(GenotypeChecker, TolerantFormReportsAndGoesOn) {
    const log_capture capture;
    study s({"0.2", "...", "2.0", "2.2"});
    genotype_checker(s.reader).checkMissingAndMAF(true);
    EXPECT_EQ(capture.log(), HEADING +
                                 "  * 4 individuals with high rates of missing data (>5%)\n"
                                 "  * 3 SNPs with high rates of missing data (>5%)\n"
                                 "  * 1 fully missing individuals (=100%)\n"
                                 "  * 1 fully missing SNPs (=100%)\n"
                                 "  * 1 monomorphic SNPs\n"
                                 "  * 4 missing genotypes automatically imputed at monomorphic SNPs\n");
    EXPECT_EQ(s.genotypes(), (std::vector<std::string>{"002", ".0.", "200", "202"}));
    EXPECT_EQ(s.variants()[1], "rs1:200:G:A") << "neither allele was seen, so it is turned";
}

TEST(GenotypeChecker, SideFilesThatCannotBeWrittenStopTheRun) {
    for (const char* ending : {".ind.mm", ".snp.mm"}) {
        const log_capture capture;
        const std::string name = capture.folder().at(std::string("run") + ending);
        std::filesystem::create_directory(name);
        study s({"01", "10"});
        EXPECT_TRUE(
            stops_with(futils::cannotCreate(name), [&] { genotype_checker(s.reader).checkGenotypeData(); }));
    }
    for (const char* ending : {".ind.mm", ".snp.mm"}) {
        const log_capture capture;
        const std::string name = capture.folder().at(std::string("run") + ending);
        std::filesystem::create_symlink("/dev/full", name);
        study s({"01", "10"});
        EXPECT_TRUE(stops_with(name + " could not be written: No space left on device",
                               [&] { genotype_checker(s.reader).checkGenotypeData(); }));
    }
}

}  // namespace
