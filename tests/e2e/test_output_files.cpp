#include <gtest/gtest.h>

#include "program.h"
#include "study.h"
#include "support/files.h"

namespace {

using e2e::run;

const std::string SHORT = "-B study -M study.map --seed 1 --burn 0 --prune 1 --main 1 --states 8 ";

TEST(output_files, of_a_run_are_these) {
    const e2e::study data(8, 0.3);
    const auto before = e2e::files_in(data.folder());
    ASSERT_EQ(run(data.folder(), SHORT + "-O out -L run.txt").status, 0);
    std::vector<std::string> added;
    for (const std::string& name : e2e::files_in(data.folder()))
        if (std::find(before.begin(), before.end(), name) == before.end()) added.push_back(name);
    EXPECT_EQ(added, (std::vector<std::string>{"out.haps", "out.sample", "run.txt.ind.mm", "run.txt.log",
                                               "run.txt.snp.mm"}));
}

TEST(output_files, are_compressed_as_their_names_tell) {
    const e2e::study data(8, 0.3);
    ASSERT_EQ(run(data.folder(), SHORT + "-O out -L run.log").status, 0);
    ASSERT_EQ(run(data.folder(), SHORT + "-O out.haps.gz out.sample.bz2 -L run.log").status, 0);
    EXPECT_EQ(support::gunzip(data.read("out.haps.gz")), data.read("out.haps"));
    EXPECT_EQ(support::bunzip2(data.read("out.sample.bz2")), data.read("out.sample"));
}

TEST(output_files, have_their_form) {
    const e2e::study data(8, 0.3);
    ASSERT_EQ(run(data.folder(), SHORT + "-O out -L run.log").status, 0);
    const auto bim = support::lines_of(data.read("study.bim")),
               fam = support::lines_of(data.read("study.fam"));
    const auto haps = support::lines_of(data.read("out.haps")),
               sample = support::lines_of(data.read("out.sample"));
    ASSERT_EQ(haps.size(), bim.size());
    const auto first = e2e::words(haps[0]), variant = e2e::words(bim[0]);
    EXPECT_EQ(haps[0].substr(0, haps[0].size() - 2 * 16),
              variant[1] + " " + variant[1] + " " + variant[3] + " " + variant[4] + " " + variant[5]);
    EXPECT_EQ(sample[0], "ID_1 ID_2 missing");
    EXPECT_EQ(sample[1], "0 0 0");
    const std::string id = e2e::words(fam[0])[1];
    EXPECT_EQ(sample[2], id + " " + id + " 0");
    EXPECT_EQ(support::lines_of(data.read("run.ind.mm"))[0], "id\tmissing");
    EXPECT_EQ(support::lines_of(data.read("run.snp.mm"))[0],
              "id\tposition\tA\tB\tmissing\tcount_A_total\tcount_B_total");
    EXPECT_EQ(support::lines_of(data.read("run.snp.mm")).size(), bim.size() + 1);
}

TEST(output_files, on_a_full_disk_end_the_run) {
    const e2e::study data(8, 0.3);
    ASSERT_EQ(std::system(("ln -s /dev/full " + data.at("full.gz")).c_str()), 0);
    for (const char* output : {"-O /dev/full out.sample", "-O out.haps /dev/full", "-O full.gz out.sample"}) {
        const auto end = run(data.folder(), SHORT + output + " -L run.log");
        EXPECT_EQ(end.status, 1) << output;
        EXPECT_NE(e2e::last_line(end).find("could not be written: No space left on device"),
                  std::string::npos)
            << output << ": " << e2e::last_line(end);
    }
    ASSERT_EQ(std::system(("ln -s /dev/full " + data.at("side.ind.mm")).c_str()), 0);
    const auto end = run(data.folder(), SHORT + "-O out -L side.log");
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(e2e::last_line(end), "ERROR: side.ind.mm could not be written: No space left on device");
}

TEST(output_files, a_log_on_a_full_disk_ends_the_run) {
    const e2e::study data(8, 0.3);
    ASSERT_EQ(std::system(("ln -s /dev/full " + data.at("full.log")).c_str()), 0);
    const auto end = run(data.folder(), SHORT + "-O out -L full.log");
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(e2e::last_line(end), "ERROR: full.log could not be written: No space left on device");
}

struct clash {
    const char* name;
    const char* line;
    const char* piece;
};

void PrintTo(const clash& c, std::ostream* out) {
    *out << c.name;
}

class clashes : public testing::TestWithParam<clash> {};

TEST_P(clashes, are_refused_and_nothing_is_touched) {
    const e2e::study data(8, 0.3);
    ASSERT_EQ(std::system(("ln " + data.at("study.map") + " " + data.at("link.map")).c_str()), 0);
    data.write("list.ind.mm", "x\n");
    const auto names = e2e::files_in(data.folder());
    std::vector<std::string> before;
    for (const std::string& name : names) before.push_back(data.read(name));
    const auto end = run(data.folder(), std::string("-B study -M study.map ") + GetParam().line);
    EXPECT_EQ(end.status, 1);
    EXPECT_NE(e2e::last_line(end).find(GetParam().piece), std::string::npos) << e2e::last_line(end);
    EXPECT_EQ(e2e::files_in(data.folder()), names);
    for (std::size_t i = 0; i < names.size(); ++i) EXPECT_EQ(data.read(names[i]), before[i]) << names[i];
}

INSTANTIATE_TEST_SUITE_P(
    output_files, clashes,
    testing::Values(
        clash{"haps_over_input", "-O study.gen x -G study -L run.log", "study.gen would be overwritten"},
        clash{"haps_over_map", "-O study.map x -L run.log", "study.map would be overwritten"},
        clash{"by_another_path", "-O ./study.bim x -L run.log", "./study.bim would be overwritten"},
        clash{"by_a_hard_link", "-O link.map x -L run.log", "link.map would be overwritten"},
        clash{"side_file_over_list", "-O out -L list.log --include-ind list.ind.mm",
              "list.ind.mm would be overwritten"},
        clash{"sample_over_gen_sample", "-G study -O study -L run.log", "study.sample would be overwritten"},
        clash{"both_outputs_one_file", "-O out ./out -L run.log", "are one file"},
        clash{"haps_is_the_log", "-O run.log out.sample -L run.log", "are one file"}),
    [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
