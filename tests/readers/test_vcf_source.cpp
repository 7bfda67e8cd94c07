#include "readers/vcf_source.h"

#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/study.h"
#include "support/vcf_text.h"

namespace {

using support::log_capture;
using support::study;
using support::vcf_text;

const std::vector<std::string> TRIO = {"Ann", "Bob", "Eve"};

/// Reads a VCF into the study.
void read_vcf(study& s, const log_capture& capture, const std::string& text, const char* name = "study.vcf") {
    vcf_file file(support::put_vcf(capture.folder(), name, text), std::nullopt, 1);
    vcf_source source(file, s.filter);
    s.store = read_study(source);
}

TEST(VcfSource, ReadsVariantsAndGenotypes) {
    for (const char* name : {"study.vcf", "study.vcf.gz", "study.bcf"}) {
        const log_capture capture;
        study s;
        read_vcf(s, capture,
                 vcf_text(TRIO, {"20 100 rs1 A G 0/0 0|1 ./.", "20 200 . C CT,<DEL> 1/1 0/1 1/2",
                                 "20 200 rs3 T * 0/1 1/0 1/1"}),
                 name);
        EXPECT_EQ(s.genotypes(), (std::vector<std::string>{"001", "111", ".12"}));
        EXPECT_EQ(s.store.ind_ids, TRIO);
        EXPECT_EQ(s.variants(), (std::vector<std::string>{"rs1:100:A:G", "20:200:CT:C,<DEL>:200:CT:C,<DEL>",
                                                          "rs3:200:T:*"}));
        EXPECT_EQ(s.store.snps.getByIndex(2)->chromosome, "20");
        EXPECT_EQ(s.store.snps.getByIndex(2)->record, 3);
        EXPECT_TRUE(s.store.haploid.empty());
        const std::string log = capture.log();
        for (const char* line : {"  * 3 individuals included\n  * 3 variants included\n",
                                 "  * 1 variants with more than two alleles",
                                 "  * 1 genotypes are phased in the input; their phase is not used\n"})
            EXPECT_NE(log.find(line), std::string::npos) << log;
    }
}

TEST(VcfSource, LeavesOutWhatTheFilterDrops) {
    const log_capture capture;
    study s;
    s.filter.ind_exclude["Bob"] = false;
    s.filter.snp_exclude[200] = false;
    read_vcf(
        s, capture,
        vcf_text(TRIO, {"20 100 a A G 0/1 0/0 1/1", "20 200 b A G 0/1 0/0 1/1", "20 300 c A G 1/1 0/0 0/1"}));
    EXPECT_EQ(s.genotypes(), (std::vector<std::string>{"12", "21"}));
    EXPECT_EQ(s.store.ind_ids, (std::vector<std::string>{"Ann", "Eve"}));
    EXPECT_EQ(s.store.snps.getByIndex(1)->record, 3);
    for (const char* line : {"  * 1 individuals excluded\n", "  * 1 variants excluded\n"})
        EXPECT_NE(capture.log().find(line), std::string::npos) << capture.log();
}

TEST(VcfSource, PassesOverRecordsWithoutGenotypes) {
    const log_capture capture;
    std::string text =
        vcf_text(TRIO, {"20 100 a A G 0/1 0/0 1/1", "20 200 b A G ./. . .|.", "20 300 c A G 3 4 5"},
                 "##FORMAT=<ID=DP,Number=1,Type=Integer,Description=\"Depth\">\n");
    text.replace(text.rfind("GT"), 2, "DP");
    study s;
    read_vcf(s, capture, text);
    EXPECT_EQ(s.variants(), (std::vector<std::string>{"a:100:A:G"}));
    for (const char* line : {"  * 1 records without genotypes passed over\n",
                             "  * 1 records with missing genotypes only passed over\n"})
        EXPECT_NE(capture.log().find(line), std::string::npos) << capture.log();
}

TEST(VcfSource, MoreVariantsThanABlock) {
    const log_capture capture;
    std::vector<std::string> records;
    std::vector<std::string> expected(3);
    for (int v = 0; v < 150; ++v) {
        const int kind = v * v % 7 % 3;
        const char* const GENOTYPES[] = {"0/0 0/1 1", "1/1 ./. 0", "0/1 1/1 0/0"};
        const char* const MEANING[] = {"012", "2.0", "120"};
        records.push_back("20 " + std::to_string(100 + v) + " . A G " + GENOTYPES[kind]);
        for (int i = 0; i < 3; ++i) expected[i] += MEANING[kind][i];
    }
    study s;
    read_vcf(s, capture, vcf_text(TRIO, records));
    EXPECT_EQ(s.genotypes(), expected);
    ASSERT_EQ(s.store.haploid.size(), 3U);
    for (int v = 0; v < 150; ++v) EXPECT_EQ(s.store.haploid[2][v], v * v % 7 % 3 != 2) << v;
    EXPECT_EQ(s.store.haploid[0].count(0, 150), 0);
}

TEST(VcfSource, NoVariantStopsTheRun) {
    const log_capture capture;
    study s;
    EXPECT_TRUE(support::stops_naming({"there is no variant to phase in "},
                                      [&] { read_vcf(s, capture, vcf_text(TRIO, {})); }));
}

}  // namespace
