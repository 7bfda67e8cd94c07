#include "writers/haplotype_writer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <random>
#include <sstream>
#include <utility>

#include "support/child_process.h"
#include "support/files.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "utils/futils.h"

namespace {

using support::log_capture;
using support::read_file;
using support::stops_with;

/// Individuals of these names, and variants at 100, 200, ... bp with alleles A and G.
genhap_set cohort(const std::vector<std::string>& names, int n_variants,
                  const std::vector<std::string>& haplotypes) {
    snp_set snps;
    for (int v = 0; v < n_variants; ++v) {
        snps.put(snp(100 * (v + 1), "A", "G"));
        snps.getByIndex(v)->id = "rs" + std::to_string(v + 1);
    }
    genhap_set set(std::move(snps), {names.begin(), names.end()});
    for (std::size_t h = 0; h < haplotypes.size(); ++h) {
        if (h == set.vecH.size()) set.vecH.emplace_back();
        set.vecH[h] = support::haplotype(haplotypes[h]);
    }
    return set;
}

void write_haps(const genhap_set& set, const std::string& haps, const std::string& sample) {
    output_files outputs;
    haps_sink sink(outputs, haps, sample);
    write_haplotypes(set, sink);
    result_sink* const sinks[] = {&sink};
    publish(sinks, outputs);
}

TEST(HaplotypeWriter, WritesBothFiles) {
    const log_capture capture;
    const genhap_set c = cohort({"X", "Y"}, 2, {"00", "11", "10", "10"});
    const std::string haps = capture.folder().at("out.haps"), sample = capture.folder().at("out.sample");
    write_haps(c, haps, sample);
    EXPECT_EQ(read_file(sample), "ID_1 ID_2 missing\n0 0 0\nX X 0\nY Y 0\n");
    EXPECT_EQ(read_file(haps), "rs1 rs1 100 A G 0 1 1 1\nrs2 rs2 200 A G 0 1 0 0\n");
    EXPECT_EQ(capture.log(), "\nWriting sample information in [" + sample +
                                 "] in IMPUTE2 format\n\nWriting haplotypes in [" + haps +
                                 "] in IMPUTE format\n");
    EXPECT_EQ(capture.console(), capture.log());
}

TEST(HaplotypeWriter, PanelIsNotWritten) {
    const log_capture capture;
    const genhap_set c = cohort({"X"}, 1, {"0", "1", "1", "1"});
    const std::string haps = capture.folder().at("out.haps");
    write_haps(c, haps, capture.folder().at("out.sample"));
    EXPECT_EQ(read_file(haps), "rs1 rs1 100 A G 0 1\n");
}

TEST(HaplotypeWriter, WritesTheCurrentAlleles) {
    const log_capture capture;
    genhap_set c = cohort({"X"}, 1, {"0", "0"});
    c.snps.getByIndex(0)->flip();
    c.snps.getByIndex(0)->a1 = "<DEL>";
    const std::string haps = capture.folder().at("out.haps");
    write_haps(c, haps, capture.folder().at("out.sample"));
    EXPECT_EQ(read_file(haps), "rs1 rs1 100 G <DEL> 0 0\n");
}

TEST(HaplotypeWriter, NoIndividualsOrNoVariants) {
    const log_capture capture;
    const std::string haps = capture.folder().at("out.haps"), sample = capture.folder().at("out.sample");
    write_haps(cohort({}, 1, {}), haps, sample);
    EXPECT_EQ(read_file(sample), "ID_1 ID_2 missing\n0 0 0\n");
    EXPECT_EQ(read_file(haps), "rs1 rs1 100 A G\n");
    write_haps(cohort({"X"}, 0, {}), haps, sample);
    EXPECT_EQ(read_file(sample), "ID_1 ID_2 missing\n0 0 0\nX X 0\n");
    EXPECT_EQ(read_file(haps), "");
}

TEST(HaplotypeWriter, WritesEveryAllele) {
    std::mt19937 random(1);
    std::vector<std::string> names, haplotypes;
    for (int i = 0; i < 13; ++i) {
        names.push_back("I" + std::to_string(i));
        for (int chromosome = 0; chromosome < 2; ++chromosome)
            haplotypes.push_back(support::random_alleles(37, random));
    }
    const log_capture capture;
    const std::string haps = capture.folder().at("out.haps");
    write_haps(cohort(names, 37, haplotypes), haps, capture.folder().at("out.sample"));
    const auto lines = support::lines_of(read_file(haps));
    ASSERT_EQ(lines.size(), 37U);
    for (int v = 0; v < 37; ++v) {
        std::ostringstream expected;
        expected << "rs" << v + 1 << " rs" << v + 1 << " " << 100 * (v + 1) << " A G";
        for (const std::string& h : haplotypes) expected << " " << h[v];
        EXPECT_EQ(lines[v], expected.str());
    }
}

TEST(HaplotypeWriter, CompressesByExtension) {
    const log_capture capture;
    const genhap_set c = cohort({"X"}, 1, {"0", "1"});
    const std::string haps = capture.folder().at("out.haps.gz"),
                      sample = capture.folder().at("out.sample.bz2");
    write_haps(c, haps, sample);
    EXPECT_EQ(support::gunzip(read_file(haps)), "rs1 rs1 100 A G 0 1\n");
    EXPECT_EQ(support::bunzip2(read_file(sample)), "ID_1 ID_2 missing\n0 0 0\nX X 0\n");
}

TEST(HaplotypeWriter, FilesThatCannotBeCreatedStopTheRun) {
    const log_capture capture;
    const genhap_set c = cohort({"X"}, 1, {"0", "1"});
    const std::string good = capture.folder().at("good"), bad = capture.folder().at("missing/file");
    EXPECT_TRUE(stops_with(futils::cannotCreate(bad), [&] { write_haps(c, bad, good); }));
    EXPECT_TRUE(stops_with(futils::cannotCreate(bad), [&] { write_haps(c, good, bad); }));
}

TEST(HaplotypeWriter, FullDiskStopsTheRun) {
    for (const char* ending : {"", ".gz", ".bz2"}) {
        const log_capture capture;
        const genhap_set c = cohort({"X"}, 1, {"0", "1"});
        const std::string good = capture.folder().at("good");
        const std::string full = capture.folder().at(std::string("full") + ending);
        ASSERT_EQ(::symlink("/dev/full", full.c_str()), 0);
        const std::string message = full + " could not be written: No space left on device";
        EXPECT_TRUE(stops_with(message, [&] { write_haps(c, full, good); }));
        EXPECT_TRUE(stops_with(message, [&] { write_haps(c, good, full); }));
    }
}

}  // namespace
