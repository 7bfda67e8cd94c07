#include "readers/vcf_panel.h"

#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/study.h"
#include "support/vcf_text.h"

namespace {

using support::log_capture;
using support::study;
using support::vcf_text;

/// A study with these variants and nobody in it.
study study_with(const std::vector<snp>& variants) {
    study s;
    for (const snp& variant : variants) s.store.snps.put(variant);
    s.store.snps.indexing();
    return s;
}

void read_panel(study& s, const log_capture& capture, const std::vector<std::string>& records,
                const std::vector<std::string>& individuals = {"P1", "P2"}) {
    vcf_file file(support::put_vcf(capture.folder(), "panel.vcf.gz", vcf_text(individuals, records)),
                  std::nullopt, 1);
    vcf_panel panel(file, s.filter, s.store.ind_ids, s.store.snps);
    s.panel = read_haplotypes(panel);
}

TEST(VcfPanel, RecordsMatchByPositionAndAlleles) {
    const log_capture capture;
    study s =
        study_with({{100, "A", "G"}, {200, "T", "C"}, {200, "T", "G"}, {300, "A", "C"}, {400, "G", "G"}});
    read_panel(s, capture,
               {"20 100 . A G 0|1 1|1", "20 150 . A G 1|1 1|1", "20 200 . C T 0|1 0|0",
                "20 200 . T G 1|0 0|0", "20 300 . A T 1|1 1|1", "20 400 . A G 0|1 1|1"});
    EXPECT_EQ(s.panel_haplotypes(), (std::vector<std::string>{"01101", "10000", "11000", "11000"}));
    std::string found;
    for (const snp& variant : s.store.snps.snp_list) found += variant.in_ref ? '1' : '0';
    EXPECT_EQ(found, "11101");
    EXPECT_NE(capture.log().find("  * 4 of 6 records are variants of the study\n"), std::string::npos);
}

TEST(VcfPanel, MoreThanTwoAlleles) {
    const log_capture capture;
    study s = study_with({{100, "A", "G"}, {200, "A", "C,T"}, {300, "A", "G"}, {400, "C", "A,T"}});
    read_panel(s, capture,
               {"20 100 . A C,G 0|2 2|0", "20 200 . A C,T 0|2 1|0", "20 300 . A C,G 0|2 1|0",
                "20 400 . A C,T 0|2 1|0"});
    std::string found;
    for (const snp& variant : s.store.snps.snp_list) found += variant.in_ref ? '1' : '0';
    EXPECT_EQ(found, "1101") << "somebody has an allele that the third variant lacks";
    EXPECT_EQ(s.panel_haplotypes(), (std::vector<std::string>{"0001", "1101", "1100", "0001"}));
}

TEST(VcfPanel, APanelWithOneRecordForEachAlleleLacksTheVariant) {
    const log_capture capture;
    study s = study_with({{100, "A", "C,G"}, {200, "A", "G"}});
    read_panel(s, capture, {"20 100 . A C 0|1 0|0", "20 100 . A G 0|0 1|0", "20 200 . A G 0|1 0|0"});
    EXPECT_FALSE(s.store.snps.getByIndex(0)->in_ref);
    EXPECT_TRUE(s.store.snps.getByIndex(1)->in_ref);
}

TEST(VcfPanel, OfEqualRecordsTheFirstOneCounts) {
    const log_capture capture;
    study s = study_with({{100, "A", "G"}, {200, "A", "G"}, {200, "A", "G"}});
    read_panel(
        s, capture,
        {"20 100 . A G 0|1 0|0", "20 100 . A G 1|1 1|1", "20 200 . A G 0|1 0|0", "20 200 . A G 1|0 1|1"});
    EXPECT_EQ(s.panel_haplotypes(), (std::vector<std::string>{"001", "110", "001", "001"}));
}

TEST(VcfPanel, HaploidIndividualsHaveTheirAlleleTwice) {
    const log_capture capture;
    study s = study_with({{100, "A", "G"}, {200, "A", "G"}});
    read_panel(s, capture, {"X 100 . A G 1 0|1", "X 200 . A G 0|1 1"});
    EXPECT_EQ(s.panel_haplotypes(), (std::vector<std::string>{"10", "11", "01", "11"}));
}

TEST(VcfPanel, TheFilterDropsIndividuals) {
    const log_capture capture;
    study s = study_with({{100, "A", "G"}});
    s.filter.ind_exclude["P1"] = false;
    read_panel(s, capture, {"20 100 . A G 0/1 0|1"});
    EXPECT_EQ(s.panel_haplotypes(), (std::vector<std::string>{"0", "1"}));
}

TEST(VcfPanel, WhatIsNoHaplotypeStopsTheRun) {
    struct row {
        const char* record;
        const char* problem;
    };
    for (const row& r :
         {row{"20 100 . A G 0|1 0/1", "is not phased"}, row{"20 100 . A G 0|1 .|.", "has a missing allele"},
          row{"20 100 . A G 0|1 0|.", "has a missing allele"},
          row{"20 100 . A G 0|1 .", "has a missing allele"},
          row{"20 100 . A G 0|1 0|0|1", "has more than two alleles"},
          row{"20 100 . A G 0|1 0|2", "has an allele that the record does not have"}}) {
        const log_capture capture;
        study s = study_with({{100, "A", "G"}});
        EXPECT_TRUE(support::stops_naming({"record 1 (20:100)", "individual P2 of the panel", r.problem},
                                          [&] { read_panel(s, capture, {r.record}); }))
            << r.record;
    }
}

}  // namespace
