#include "readers/genotype_checks.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/study.h"

namespace {

using support::genotypes_of;
using support::log_capture;
using support::stops_with;
using support::study_of;
using support::variants_of;

/// The checks in the order of a run.
void check_and_repair(genotype_store& store, bool tolerate_empty = false) {
    const genotype_counts counts = count_genotypes(store);
    check_missing(counts, tolerate_empty);
    report_variants(repair_monomorphic(store, counts), counts);
}

TEST(GenotypeChecks, CleanDataPrintsNothing) {
    const log_capture capture;
    genotype_store s = study_of({"0112", "1021", "2110"});
    const auto before = genotypes_of(s);
    check_and_repair(s);
    EXPECT_EQ(capture.log(), "");
    EXPECT_EQ(capture.console(), "");
    EXPECT_EQ(genotypes_of(s), before);
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

TEST(GenotypeChecks, RepairsMonomorphicVariants) {
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
        // Many other variants, with at least two copies of both alleles, keep the missing rates of
        // individuals low.
        std::vector<std::string> genotypes;
        for (const std::string& own : r.genotypes)
            genotypes.push_back(own + std::string(40, genotypes.empty() ? '2' : '0'));
        genotype_store s = study_of(genotypes);
        snp* variant = s.snps.getByIndex(0);
        variant->a0 = r.a0;
        variant->a1 = r.a1;
        const genotype_counts counts = count_genotypes(s);
        EXPECT_EQ(std::to_string(counts.count_a0[0]) + "\t" + std::to_string(counts.count_a1[0]), r.counts)
            << r.name;
        check_and_repair(s);
        std::string after;
        for (const std::string& own : genotypes_of(s)) after += own[0];
        EXPECT_EQ(after, r.expected) << r.name;
        EXPECT_EQ(variant->a0 + ":" + variant->a1, r.variant) << r.name;
        EXPECT_EQ(variant->is_turned, r.counts[0] == '0') << r.name;
        EXPECT_EQ(capture.log(), r.log) << r.name;
    }
}

TEST(GenotypeChecks, SingleHeterozygoteIsOneSingleton) {
    const log_capture capture;
    genotype_store s = study_of({"1"});
    check_and_repair(s);
    EXPECT_EQ(capture.log(), "  * 1 singletons SNPs\n") << "the variant counts once";
}

TEST(GenotypeChecks, MoreThanFivePercentIsHigh) {
    const std::string high_ind = "  * 1 individuals with high rates of missing data (>5%)\n";
    const std::string high_snp = "  * 1 SNPs with high rates of missing data (>5%)\n";
    for (const int n_missing : {4, 5, 6}) {
        const log_capture capture;
        std::vector<std::string> genotypes(100, std::string(100, '0'));
        for (int i = 0; i < 10; ++i) genotypes[i] = std::string(100, '2');
        for (int v = 0; v < n_missing; ++v) genotypes[50][v] = '.';
        genotype_store s = study_of(genotypes);
        check_and_repair(s);
        EXPECT_EQ(capture.log(), (n_missing > 5 ? high_ind : "")) << n_missing << " of 100 variants";
    }
    for (const int n_missing : {4, 5, 6}) {
        const log_capture capture;
        std::vector<std::string> genotypes(100, std::string(100, '0'));
        for (int i = 0; i < 10; ++i) genotypes[i] = std::string(100, '2');
        for (int i = 0; i < n_missing; ++i) genotypes[50 + i][7] = '.';
        genotype_store s = study_of(genotypes);
        check_and_repair(s);
        EXPECT_EQ(capture.log(), (n_missing > 5 ? high_snp : "")) << n_missing << " of 100 individuals";
    }
}

TEST(GenotypeChecks, MessagesComeInOrder) {
    const log_capture capture;
    genotype_store s = study_of({"02.1", "00.2", "02.2", ".000", "0012"});
    check_and_repair(s);
    EXPECT_EQ(capture.log(),
              "  * 4 individuals with high rates of missing data (>5%)\n"
              "  * 2 SNPs with high rates of missing data (>5%)\n"
              "  * 1 monomorphic SNPs\n"
              "  * 1 missing genotypes automatically imputed at monomorphic SNPs\n"
              "  * 1 singletons SNPs\n");
}

/// Whether the checks stop with this message before they repair anything.
void expect_stop(const std::vector<std::string>& genotypes, const std::string& message) {
    const log_capture capture;
    EXPECT_TRUE(stops_with(message, [&] {
        genotype_store s = study_of(genotypes);
        check_and_repair(s);
    }));
    EXPECT_EQ(capture.log().find("monomorphic"), std::string::npos);
}

TEST(GenotypeChecks, FullyMissingDataStopsTheRun) {
    expect_stop({"0120", "....", "1102", "...."}, "2 fully missing individuals (=100%)");
    expect_stop({"0.20", "1.12"}, "1 fully missing SNPs (=100%)");
    expect_stop({"....", "...."}, "2 fully missing individuals (=100%)");
}

TEST(GenotypeChecks, NothingToPhaseStopsTheRun) {
    expect_stop({"", "", ""}, "3 fully missing individuals (=100%)");
    expect_stop({}, "0 fully missing individuals (=100%)");
    const log_capture capture;
    EXPECT_TRUE(stops_with("2 fully missing SNPs (=100%)", [] {
        genotype_store s;
        for (const int position : {100, 200}) s.snps.put(snp(position, "A", "G"));
        check_and_repair(s);
    }));
}

TEST(GenotypeChecks, ToleratedEmptyDataAreOnlyReported) {
    const log_capture capture;
    genotype_store s = study_of({"0.2", "...", "2.0", "2.2"});
    check_and_repair(s, true);
    EXPECT_EQ(capture.log(),
              "  * 4 individuals with high rates of missing data (>5%)\n"
              "  * 3 SNPs with high rates of missing data (>5%)\n"
              "  * 1 fully missing individuals (=100%)\n"
              "  * 1 fully missing SNPs (=100%)\n"
              "  * 1 monomorphic SNPs\n"
              "  * 4 missing genotypes automatically imputed at monomorphic SNPs\n");
    EXPECT_EQ(genotypes_of(s), (std::vector<std::string>{"002", ".0.", "200", "202"}));
    EXPECT_EQ(variants_of(s.snps)[1], "rs1:200:G:A") << "neither allele is observed, so it is flipped";
}

}  // namespace
