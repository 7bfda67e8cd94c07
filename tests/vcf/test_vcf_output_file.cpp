#include "vcf/vcf_output_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/child_process.h"
#include "support/files.h"
#include "support/log_capture.h"
#include "support/vcf_text.h"
#include "vcf/vcf_file.h"

namespace {

using support::log_capture;
using support::stops_with;

const std::vector<std::string> RECORDS = {"20 100 a A G 0/1", "20 70000 b A G 0/1", "20 600000000 c A G 1/1"};

/// Copies the records of a VCF through the class under test. Returns what publish() says.
std::string copy(const log_capture& capture, const std::vector<std::string>& records,
                 const vcf_output_settings& settings, bool publishes = true) {
    vcf_file in(support::put_vcf(capture.folder(), "in.vcf", support::vcf_text({"Ann"}, records)),
                std::nullopt, 1);
    vcf_output_file out(settings, hts::header_handle(::bcf_hdr_dup(in.header())));
    while (in.next()) out.write(in.record());
    out.close();
    return publishes ? out.publish() : "";
}

TEST(VcfOutputFile, EveryFormHasTheRecords) {
    for (const char* name : {"out.vcf", "out.vcf.gz", "out.bcf"})
        for (const int n_threads : {1, 3}) {
            const log_capture capture;
            const std::string file = capture.folder().at(name);
            EXPECT_EQ(copy(capture, RECORDS, {file, vcf_index::csi, n_threads}), "");
            EXPECT_EQ(support::records_of(file), support::records_of(capture.folder().at("in.vcf")));
        }
}

TEST(VcfOutputFile, TheIndexFindsRecords) {
    for (const vcf_index index : {vcf_index::csi, vcf_index::tbi}) {
        const log_capture capture;
        const std::string file = capture.folder().at("out.vcf.gz");
        const std::vector<std::string> records(RECORDS.begin(), RECORDS.begin() + 2);
        const vcf_output_settings settings = {file, index};
        EXPECT_EQ(copy(capture, records, settings), "");
        EXPECT_EQ(index_name(settings), file + (index == vcf_index::csi ? ".csi" : ".tbi"));
        ASSERT_EQ(::access(index_name(settings).c_str(), R_OK), 0);
        vcf_file part(file, genome_region{"20", 60000, 80000}, 1);
        EXPECT_TRUE(part.next());
        EXPECT_EQ(part.position(), 70000);
        EXPECT_FALSE(part.next());
    }
}

TEST(VcfOutputFile, TheIndexDoesNotDependOnTheThreads) {
    std::vector<std::string> records;  // more than fit into a block
    for (int v = 1; v <= 8000; ++v) records.push_back("20 " + std::to_string(1000 * v) + " . A G 0/1");
    for (const char* name : {"out.vcf.gz", "out.bcf"}) {
        std::vector<std::string> indexes;
        for (const int n_threads : {1, 3}) {
            const log_capture capture;
            const std::string file = capture.folder().at(name);
            EXPECT_EQ(copy(capture, records, {file, vcf_index::csi, n_threads}), "");
            indexes.push_back(support::gunzip(support::read_file(file + ".csi")));
            vcf_file part(file, genome_region{"20", 7999000, 7999000}, 1);
            EXPECT_TRUE(part.next());
        }
        EXPECT_EQ(indexes[0], indexes[1]);
    }
}

TEST(VcfOutputFile, AnIndexOfAnEarlierFileGoes) {
    const log_capture capture;
    const std::string file = capture.folder().at("out.vcf.gz");
    const std::vector<std::string> records(RECORDS.begin(), RECORDS.begin() + 2);
    EXPECT_EQ(copy(capture, records, {file, vcf_index::csi}), "");
    EXPECT_EQ(copy(capture, records, {file, vcf_index::tbi}), "");
    EXPECT_NE(::access((file + ".csi").c_str(), F_OK), 0);
    EXPECT_EQ(::access((file + ".tbi").c_str(), F_OK), 0);
    EXPECT_NE(capture.log().find("  * Removed [" + file + ".csi], the index of an earlier file"),
              std::string::npos);
}

TEST(VcfOutputFile, OnlyCompressedFilesHaveAnIndex) {
    EXPECT_EQ(index_name({"a.vcf", vcf_index::csi}), "");
    EXPECT_EQ(index_name({"a.vcf.gz", vcf_index::none}), "");
    EXPECT_EQ(index_name({"a.bcf", vcf_index::csi}), "a.bcf.csi");
    EXPECT_EQ(index_name({"/dev/null", vcf_index::csi}), "");
}

TEST(VcfOutputFile, AnUnpublishedFileLeavesNothing) {
    const log_capture capture;
    const std::string file = capture.folder().put("out.bcf", "earlier result");
    copy(capture, RECORDS, {file, vcf_index::csi}, false);
    EXPECT_EQ(support::read_file(file), "earlier result");
    EXPECT_NE(::access((file + ".csi").c_str(), F_OK), 0);
}

TEST(VcfOutputFile, APositionThatTheIndexCannotHoldStopsTheRun) {
    const log_capture capture;
    const std::string file = capture.folder().at("out.vcf.gz");
    EXPECT_TRUE(stops_with(file + ".tbi cannot hold position 600000000: use --output-index csi", [&] {
        copy(capture, RECORDS, {file, vcf_index::tbi});
    }));
}

TEST(VcfOutputFile, FullDiskStopsTheRun) {
    for (const char* name : {"full.vcf", "full.vcf.gz", "full.bcf"}) {
        const log_capture capture;
        const std::string full = capture.folder().at(name);
        ASSERT_EQ(::symlink("/dev/full", full.c_str()), 0);
        EXPECT_TRUE(stops_with(full + " could not be written: No space left on device", [&] {
            copy(capture, RECORDS, {full, vcf_index::csi});
        }));
    }
}

TEST(VcfOutputFile, EndingsOfItsNames) {
    for (const char* name : {"a.vcf", "a.vcf.gz", "a.bcf"}) EXPECT_TRUE(is_vcf_name(name));
    for (const char* name : {"a", "a.haps", "a.vcf.bz2", "a.bcf.gz", "vcf"}) EXPECT_FALSE(is_vcf_name(name));
}

}  // namespace
