#include "writers/vcf_sink.h"

#include <gtest/gtest.h>

#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "support/vcf_text.h"

namespace {

using support::log_capture;
using texts = std::vector<std::string>;

/// Two individuals with these haplotypes at two variants.
genhap_set cohort(const texts& haplotypes) {
    snp_set snps;
    snps.put(snp(100, "A", "G"));
    snps.put(snp(200, "T", "C"));
    snps.indexing();
    const texts names = {"Ann", "Bob"};
    genhap_set set(std::move(snps), {names.begin(), names.end()});
    for (std::size_t h = 0; h < haplotypes.size(); ++h) set.vecH[h] = support::haplotype(haplotypes[h]);
    return set;
}

texts written(const log_capture& capture, const genhap_set& set, const reference_alleles& alleles,
              const std::vector<chaplotype>& missing = {}, const std::string& header_line = "",
              const char* name = "out.vcf") {
    const std::string file = capture.folder().at(name);
    vcf_sink sink({file}, {.header_line = header_line}, alleles, set, missing);
    write_haplotypes(set, sink);
    EXPECT_EQ(sink.publish(), "");
    texts lines = support::header_of(file);
    for (const std::string& record : support::records_of(file)) lines.push_back(record);
    return lines;
}

const reference_alleles PLAIN = {"chr20", 0, {{"A", "G"}, {"T", "C"}}};

TEST(VcfSink, WritesAValidFile) {
    for (const char* name : {"out.vcf", "out.vcf.gz", "out.bcf"}) {
        const log_capture capture;
        EXPECT_EQ(
            written(capture, cohort({"01", "11", "10", "00"}), PLAIN, {}, "##tolvane=v1 --seed 2", name),
            (texts{"##fileformat=VCFv4.2", "##FILTER=<ID=PASS,Description=\"All filters passed\">",
                   "##contig=<ID=chr20>",
                   "##FORMAT=<ID=GT,Number=1,Type=String,Description=\"Phased genotype\">",
                   "##tolvane=v1 --seed 2", "#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\tAnn\tBob",
                   "chr20\t100\t100\tA\tG\t.\t.\t.\tGT\t0|1\t1|0",
                   "chr20\t200\t200\tT\tC\t.\t.\t.\tGT\t1|1\t0|0"}));
    }
}

TEST(VcfSink, AllelesFollowTheReference) {
    const log_capture capture;
    const reference_alleles alleles = {"20", 500, {{"G", "A", true}, {"T", "", false}}};
    const texts lines = written(capture, cohort({"00", "10", "00", "00"}), alleles);
    EXPECT_EQ(lines[2], "##contig=<ID=20,length=500>");
    EXPECT_EQ(lines[5], "20\t100\t100\tG\tA\t.\t.\t.\tGT\t1|0\t1|1");
    EXPECT_EQ(lines[6], "20\t200\t200\tT\t.\t.\t.\t.\tGT\t0|0\t0|0");
}

TEST(VcfSink, LeavesOutVariantsWithoutAlleles) {
    const log_capture capture;
    const reference_alleles alleles = {"20", 0, {{"I", "D", false, false}, {"T", "C"}}};
    const texts lines = written(capture, cohort({"01", "11", "10", "00"}), alleles);
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[5], "20\t200\t200\tT\tC\t.\t.\t.\tGT\t1|1\t0|0");
}

TEST(VcfSink, HaploidAndMissingGenotypes) {
    const log_capture capture;
    genhap_set set = cohort({"01", "01", "10", "00"});
    set.haploid = {support::haplotype("11"), support::haplotype("00")};
    const std::vector<chaplotype> missing = {support::haplotype("10"), support::haplotype("01")};
    const texts lines = written(capture, set, PLAIN, missing);
    EXPECT_EQ(lines[5], "chr20\t100\t100\tA\tG\t.\t.\t.\tGT\t.\t1|0");
    EXPECT_EQ(lines[6], "chr20\t200\t200\tT\tC\t.\t.\t.\tGT\t1\t./.");
}

}  // namespace
