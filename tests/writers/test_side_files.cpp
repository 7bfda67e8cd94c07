#include "writers/side_files.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/child_process.h"
#include "support/files.h"
#include "support/study.h"
#include "support/temporary_folder.h"
#include "utils/futils.h"

namespace {

using support::read_file;
using support::stops_with;
using support::study_of;
using support::temporary_folder;

void write(const genotype_store& store, const std::string& prefix) {
    write_counts(store, count_genotypes(store), prefix);
}

TEST(WriteCounts, WritesCountsOfIndividualsAndVariants) {
    const temporary_folder folder;
    write(study_of({"0.20", "1120", "2.20", "0120", "1122"}), folder.at("my.run"));
    EXPECT_EQ(read_file(folder.at("my.run.ind.mm")), "id\tmissing\nI0\t1\nI1\t0\nI2\t1\nI3\t0\nI4\t0\n");
    EXPECT_EQ(read_file(folder.at("my.run.snp.mm")),
              "id\tposition\tA\tB\tmissing\tcount_A_total\tcount_B_total\n"
              "rs0\t100\t6\t4\n"
              "rs1\t200\t3\t3\n"
              "rs2\t300\t0\t10\n"
              "rs3\t400\t8\t2\n");
}

TEST(WriteCounts, FilesThatCannotBeWrittenStopTheRun) {
    for (const std::string ending : {".ind.mm", ".snp.mm"}) {
        const temporary_folder folder;
        std::filesystem::create_directory(folder.at("run" + ending));
        EXPECT_TRUE(stops_with(futils::cannotCreate(folder.at("run" + ending)), [&] {
            write(study_of({"01", "10"}), folder.at("run"));
        }));
    }
    for (const std::string ending : {".ind.mm", ".snp.mm"}) {
        const temporary_folder folder;
        const std::string name = folder.at("run" + ending);
        std::filesystem::create_symlink("/dev/full", name);
        EXPECT_TRUE(stops_with(name + " could not be written: No space left on device", [&] {
            write(study_of({"01", "10"}), folder.at("run"));
        }));
    }
}

TEST(WriteAbsentVariants, WritesAllelesAndPositions) {
    const temporary_folder folder;
    const genotype_store store = study_of({"0000"});
    write_absent_variants({store.snps.getByIndex(1), store.snps.getByIndex(3)}, folder.at("run"));
    EXPECT_EQ(read_file(folder.at("run.snp.strand")), "pos\tid\tA\tB\n200\trs1\tA\tG\n400\trs3\tA\tG\n");
    EXPECT_EQ(read_file(folder.at("run.snp.strand.exclude")), "200\n400\n");
}

TEST(WriteAbsentVariants, FullDiskStopsTheRun) {
    const genotype_store store = study_of({"0000"});
    for (const std::string ending : {".snp.strand", ".snp.strand.exclude"}) {
        const temporary_folder folder;
        const std::string name = folder.at("run" + ending);
        std::filesystem::create_symlink("/dev/full", name);
        EXPECT_TRUE(stops_with(name + " could not be written: No space left on device",
                               [&] { write_absent_variants({store.snps.getByIndex(1)}, folder.at("run")); }));
    }
}

}  // namespace
