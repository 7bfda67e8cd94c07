#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

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

/// Sends standard output or standard error to a file.
std::function<void()> redirect(int stream, const std::string& path, int mode = O_TRUNC) {
    return [=] { ::dup2(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | mode, 0600), stream); };
}

TEST(output_files, the_console_must_not_go_to_a_file_of_the_run) {
    const e2e::study data(8, 0.3);
    struct row {
        int stream;
        const char* file;
        const char* line;
    };
    for (const row& r :
         {row{STDOUT_FILENO, "out.haps", "-O out -L run.log"},
          row{STDOUT_FILENO, "out.sample", "-O out -L run.log"},
          row{STDOUT_FILENO, "run.log", "-O out -L run.log"},
          row{STDOUT_FILENO, "run.snp.mm", "-O out -L run.log"},
          row{STDERR_FILENO, "out.haps", "-O out -L run.log"}, row{STDERR_FILENO, "run.log", "-O out -L run"},
          row{STDOUT_FILENO, "x", "-O /dev/stdout out.sample -L run.log"},
          row{STDERR_FILENO, "x", "-O out.haps /dev/stderr -L run.log"}}) {
        const auto end = run(data.folder(), SHORT + r.line, redirect(r.stream, data.at(r.file)));
        EXPECT_EQ(end.status, 1) << r.file;
        const std::string message = end.out + (r.stream == STDOUT_FILENO ? data.read(r.file) : "");
        EXPECT_NE(message.find("of this run goes to; give another name to one of them"), std::string::npos)
            << message;
        EXPECT_EQ(std::filesystem::exists(data.at("run.log")), r.file == std::string("run.log"));
        std::filesystem::remove(data.at(r.file));
    }
    const std::string map = data.read("study.map");
    EXPECT_EQ(run(data.folder(), SHORT + "-O out -L run.log",
                  redirect(STDOUT_FILENO, data.at("study.map"), O_APPEND))
                  .status,
              1);
    EXPECT_TRUE(data.read("study.map").starts_with(map));
}

TEST(output_files, both_streams_of_the_console_may_share_a_file) {
    const e2e::study data(8, 0.3);
    const auto end = run(data.folder(), SHORT + "-O out -L run.log", [&data] {
        redirect(STDOUT_FILENO, data.at("console"))();
        ::dup2(STDOUT_FILENO, STDERR_FILENO);
    });
    EXPECT_EQ(end.status, 0);
    EXPECT_NE(data.read("console").find("Running time: "), std::string::npos);
}

TEST(output_files, may_be_named_pipes) {
    const e2e::study data(8, 0.3);
    ASSERT_EQ(run(data.folder(), SHORT + "-O out -L run.log").status, 0);
    for (const char* name : {"haps", "sample"}) ASSERT_EQ(::mkfifo(data.at(name).c_str(), 0600), 0);
    std::string haps, sample;
    std::thread read_haps([&] { haps = data.read("haps"); });
    std::thread read_sample([&] { sample = data.read("sample"); });
    EXPECT_EQ(run(data.folder(), SHORT + "-O haps sample -L run.log").status, 0);
    read_haps.join();
    read_sample.join();
    EXPECT_EQ(haps, data.read("out.haps"));
    EXPECT_EQ(sample, data.read("out.sample"));
}

TEST(output_files, a_pipe_ends_if_the_run_fails) {
    const e2e::study data(8, 0.3);
    ASSERT_EQ(::mkfifo(data.at("haps").c_str(), 0600), 0);
    std::string haps = "unread";
    std::thread read_haps([&] { haps = data.read("haps"); });
    data.write("study.bed", "");
    EXPECT_EQ(run(data.folder(), SHORT + "-O haps out.sample -L run.log").status, 1);
    read_haps.join();
    EXPECT_EQ(haps, "");
}

TEST(output_files, a_pipe_that_nobody_reads_any_more_ends_the_run) {
    const e2e::study data(8, 0.3);
    const std::string map = data.read("study.map");
    std::filesystem::remove(data.at("study.map"));
    for (const char* name : {"haps", "study.map"}) ASSERT_EQ(::mkfifo(data.at(name).c_str(), 0600), 0);
    std::thread reader([&] {
        { std::ifstream stream(data.at("haps")); }
        data.write("study.map", map);  // the run waits for it
    });
    const auto end = run(data.folder(), SHORT + "-O haps out.sample -L run.log");
    reader.join();
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(e2e::last_line(end), "ERROR: haps could not be written: Broken pipe");
}

TEST(output_files, of_an_earlier_run_survive_a_failure) {
    const e2e::study data(8, 0.3);
    ASSERT_EQ(run(data.folder(), SHORT + "-O out -L run.log").status, 0);
    const std::string haps = data.read("out.haps"), sample = data.read("out.sample");
    ASSERT_EQ(::chmod(data.at("out.haps").c_str(), 0640), 0);
    ASSERT_EQ(std::system(("ln -s /dev/full " + data.at("full")).c_str()), 0);
    data.write("one.fam", "F P1 0 0 0 0\n");
    ASSERT_EQ(std::system(("ln -s /dev/full " + data.at("side.snp.mm")).c_str()), 0);
    const std::vector<std::string> lines = {
        "-B study -M study.map --states 3 -O out -L other.log",  // ends by an assertion
        SHORT + "-O out.haps full -L other.log",
        SHORT + "-O full out.sample -L other.log",
        SHORT + "-O out -L other.log --input-from 900000000",
        SHORT + "-O out -L side.log",
        "-B study.bed study.bim one.fam -M study.map -O out -L other.log"};
    for (const std::string& line : lines) {
        EXPECT_NE(run(data.folder(), line).status, 0) << line;
        EXPECT_EQ(data.read("out.haps"), haps) << line;
        EXPECT_EQ(data.read("out.sample"), sample) << line;
    }
    ASSERT_EQ(run(data.folder(), SHORT + "-O out -L run.log").status, 0);
    struct stat status {};
    ASSERT_EQ(::stat(data.at("out.haps").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640U) << "a new result has the permissions of the old one";
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
    ASSERT_EQ(::symlink("new.haps", data.at("to_new").c_str()), 0);
    ASSERT_EQ(::symlink("side.snp.mm", data.at("to_side").c_str()), 0);
    ASSERT_EQ(::mkfifo(data.at("pipe").c_str(), 0600), 0);
    const std::size_t n_special = 3;
    const auto end = run(data.folder(), std::string("-B study -M study.map ") + GetParam().line);
    EXPECT_EQ(end.status, 1);
    EXPECT_NE(e2e::last_line(end).find(GetParam().piece), std::string::npos) << e2e::last_line(end);
    EXPECT_EQ(e2e::files_in(data.folder()).size(), names.size() + n_special);
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
        clash{"haps_is_the_log", "-O run.log out.sample -L run.log", "are one file"},
        clash{"by_a_link_to_the_other", "-O new.haps to_new -L run.log", "are one file"},
        clash{"by_a_link_to_a_side_file", "-O to_side out.sample -L side.log", "are one file"},
        clash{"one_pipe_for_both", "-O pipe ./pipe -L run.log", "are one file"}),
    [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
