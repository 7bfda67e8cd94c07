#include "vcf/vcf_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/child_process.h"
#include "support/files.h"
#include "support/log_capture.h"
#include "support/vcf_text.h"

namespace {

using support::log_capture;
using support::put_vcf;
using support::stops_with;
using support::vcf_text;

const std::vector<std::string> RECORDS = {"20 100 a A G 0/1",   "20 200 b A G 0/1", "20 200 c A T 1/1",
                                          "20 300 d AAC A 0/0", "21 50 e A G 0/1",  "X 10 f A G 0/1"};

/// Positions of all records of a file, or of a region of it.
std::string positions(const std::string& name, const std::string& region = "", int n_threads = 1) {
    vcf_file file(name, region.empty() ? std::nullopt : std::optional(parse_region(region)), n_threads);
    std::string text;
    for (int round = 0; round < 2; ++round) {  // the second time after rewinding
        text += round == 0 ? "" : " |";
        while (file.next()) text += " " + file.chromosome() + ":" + std::to_string(file.position());
        file.rewind();
    }
    const std::size_t half = text.find(" |");
    EXPECT_EQ(text.substr(0, half), text.substr(half + 2));
    return text.substr(0, half);
}

TEST(VcfFile, ReadsEveryForm) {
    const log_capture capture;
    const std::vector<std::string> some(RECORDS.begin(), RECORDS.begin() + 4);
    const std::string text = vcf_text({"Ann"}, some);
    for (const char* name : {"a.vcf", "a.vcf.gz", "a.bcf"})
        for (const int n_threads : {1, 3})
            EXPECT_EQ(positions(put_vcf(capture.folder(), name, text), "", n_threads),
                      " 20:100 20:200 20:200 20:300");
    EXPECT_EQ(positions(capture.folder().put("plain.vcf.gz", support::gzip(text))),
              " 20:100 20:200 20:200 20:300");
}

TEST(VcfFile, ARegionHasTheRecordsWithAPositionInIt) {
    struct row {
        const char* region;
        const char* expected;
    };
    const row ROWS[] = {{"20", " 20:100 20:200 20:200 20:300"},
                        {"21", " 21:50"},
                        {"X:10-10", " X:10"},
                        {"20:200-299", " 20:200 20:200"},
                        {"20:302-400", ""},
                        {"20:101-199", ""},
                        {"20:201-", " 20:300"}};
    for (const char* form :
         {"plain.vcf", "scanned.vcf.gz", "tbi.vcf.gz", "csi.vcf.gz", "scanned.bcf", "csi.bcf"}) {
        const log_capture capture;
        const std::string file = put_vcf(capture.folder(), form, vcf_text({"Ann"}, RECORDS));
        const bool is_tbi = std::string(form).starts_with("tbi");
        if (is_tbi || std::string(form).starts_with("csi")) support::index_vcf(file, is_tbi);
        for (const row& r : ROWS) EXPECT_EQ(positions(file, r.region), r.expected) << form << " " << r.region;
    }
}

TEST(VcfFile, TheNameOfAChromosomeMayBeWithOrWithoutChr) {
    const log_capture capture;
    const std::string file = put_vcf(capture.folder(), "a.vcf", vcf_text({"Ann"}, RECORDS));
    EXPECT_EQ(positions(file, "chr21"), " 21:50");
    EXPECT_EQ(capture.log(), "  * Chromosome chr21 is 21 in this file\n");
    EXPECT_TRUE(
        stops_with(file + " has no chromosome 7; its header names 20, 21, X", [&] { positions(file, "7"); }));
}

TEST(VcfFile, SeveralChromosomesWithoutARegionStopTheRun) {
    const log_capture capture;
    const std::string file = put_vcf(capture.folder(), "a.vcf.gz", vcf_text({"Ann"}, RECORDS));
    EXPECT_TRUE(stops_with(file + " has several chromosomes: 20, 21, X; choose one with --region",
                           [&] { positions(file); }));
}

TEST(VcfFile, TellsHeaderLinesThatAreNotKept) {
    const log_capture capture;
    const std::string header =
        "##source=a, b\n##twice=1\n##twice=1\n##pedigreeDB=<http://x>\n##reference=file:///r.fa\n"
        "##INFO=<ID=DP,Number=1,Type=Integer,Description=\"Depth, \\\"raw\\\"\">\n";
    vcf_file file(put_vcf(capture.folder(), "a.vcf.gz", vcf_text({"Ann"}, {"20 100 a A G 0/1"}, header)),
                  std::nullopt, 1);
    EXPECT_EQ(file.lost_header_lines(), (std::vector<std::string>{"##twice=1", "##pedigreeDB=<http://x>"}));
    vcf_file binary(put_vcf(capture.folder(), "a.bcf", vcf_text({"Ann"}, {"20 100 a A G 0/1"})), std::nullopt,
                    1);
    EXPECT_TRUE(binary.lost_header_lines().empty());
}

TEST(VcfFile, UnsortedRecordsStopTheRun) {
    const log_capture capture;
    const std::string file =
        put_vcf(capture.folder(), "a.vcf", vcf_text({"Ann"}, {"20 100 a A G 0/1", "20 99 b A G 0/1"}));
    EXPECT_TRUE(stops_with(file + ": record 2 (20:99): records are not sorted: the one before it is at 100",
                           [&] { positions(file); }));
}

TEST(VcfFile, DamageStopsTheRun) {
    const log_capture capture;
    const std::string text = vcf_text({"Ann"}, {"20 100 a A G 0/1", "20 200 b A G 0/1"});
    const auto put = [&](const std::string& name, const std::string& bytes) {
        return capture.folder().put(name, bytes);
    };
    const auto replaced = [&](const std::string& from, const std::string& to) {
        std::string other = text;
        return other.replace(other.find(from), from.size(), to);
    };
    std::string cut = support::read_file(put_vcf(capture.folder(), "whole.vcf.gz", text));
    cut.resize(cut.size() - 28);  // the end block
    struct row {
        std::string file, message;
    };
    const row ROWS[] = {
        {put("cut.vcf.gz", cut), " has no end block: it is cut short"},
        {put("text.vcf", "no VCF\n"), " is neither VCF nor BCF 2"},
        {put("empty.vcf", ""), " is neither VCF nor BCF 2"},
        {put("twice.vcf", vcf_text({"Ann", "Bob", "Ann"}, {})),
         ": the individual Ann is twice in the header"},
        {put("columns.vcf", replaced("b\tA\tG", "b\tA")),
         ": the record behind number 1 (20:100) cannot be read: the number of columns differs from that of "
         "the header"},
        {put("end.vcf", text.substr(0, text.size() - 1)), " does not end with a line end: it is cut short"},
        {put("position.vcf", replaced("20\t200", "20\t2x00")),
         ": the record behind number 1 (20:100) cannot be read: a character is not allowed there"},
        {put("negative.vcf", replaced("20\t100", "20\t-100")), "a character is not allowed there"},
        {put("length.vcf", replaced("##contig=<ID=20>", "##contig=<ID=20,length=150>")),
         "(20:200): chromosome 20 ends at 150 in the header: is it of another assembly?"},
        {put("few.vcf", replaced("\tGT\t0/1\n20\t200", "\n20\t200")),
         ": the record behind number 0 cannot be read: the number of columns differs from that of the "
         "header"},
        {put("many.vcf", replaced("0/1\n20\t200", "0/1\t0/1\n20\t200")),
         ": the record behind number 0 cannot be read: the number of columns differs from that of the "
         "header"},
        {put("allele.vcf", replaced("b\tA\tG", "b\tA\t")), ": record 2 (20:200): an allele is empty"},
        {put("same.vcf", replaced("b\tA\tG", "b\tA\tG,G")), ": record 2 (20:200): an allele is there twice"},
        {put("nameless.vcf", vcf_text({"", "Ann"}, {})), ": an individual has no name"},
        {put("contig.vcf", replaced("20\t200", "5\t200")),
         ": the record behind number 1 is of chromosome 5, for which the header has no ##contig line; "
         "bcftools "
         "reheader --fai can add it"},
        {put("old.bcf", "BCF\4" + std::string(100, '\0')),
         ": the header is damaged, or of another version of the format than VCF 4 or BCF 2"},
    };
    for (const row& r : ROWS)
        EXPECT_TRUE(support::stops_naming({r.file, r.message}, [&] { positions(r.file); })) << r.file;
}

TEST(VcfFile, AFileThatChangesStopsTheRun) {
    const log_capture capture;
    const std::string name = put_vcf(capture.folder(), "a.vcf", vcf_text({"Ann"}, {"20 100 a A G 0/1"}));
    vcf_file file(name, std::nullopt, 1);
    file.rewind();
    const timespec past[] = {{1000, 0}, {1000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, name.c_str(), past, 0), 0);
    EXPECT_TRUE(stops_with(name + " has changed while this run was working", [&] { file.rewind(); }));
}

TEST(VcfFile, AnIndexOlderThanItsFileStopsTheRun) {
    const log_capture capture;
    const std::string file = put_vcf(capture.folder(), "a.bcf", vcf_text({"Ann"}, RECORDS));
    support::index_vcf(file);
    const timespec past[] = {{1000, 0}, {1000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (file + ".csi").c_str(), past, 0), 0);
    EXPECT_TRUE(stops_with(file + ".csi is older than " + file + ": make it anew, as with bcftools index",
                           [&] { positions(file, "21"); }));
    EXPECT_TRUE(stops_with(file + " has several chromosomes: 20, 21, X; choose one with --region", [&] {
        positions(file);
    })) << "the index is not needed";
}

TEST(VcfFile, OtherMachinesAreNotAsked) {
    const log_capture capture;
    for (const std::string name : {"https://a.example/b.vcf.gz", "data:,x", "s3://b/c.bcf"})
        EXPECT_TRUE(stops_with(name + " is not on this machine: download it and give the name of the copy",
                               [&] { positions(name); }));
}

}  // namespace
