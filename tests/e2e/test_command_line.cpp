#include <gtest/gtest.h>

#include <filesystem>

#include "program.h"
#include "study.h"
#include "support/files.h"

namespace {

using e2e::run;

const std::string USUAL = "-B study -M study.map -O out -L run.log --seed 1 ";

struct refusal {
    const char* name;
    std::string line;
    const char* message;
};

void PrintTo(const refusal& r, std::ostream* out) {
    *out << r.name;
}

/// Values out of range: the message is the last line of console and log.
class refused_values : public testing::TestWithParam<refusal> {};

TEST_P(refused_values, end_with_status_1_and_their_message) {
    static const e2e::study data;
    const support::temporary_folder folder;
    std::string line = GetParam().line;
    for (const char* file : {"study.bed", "study.bim", "study.fam", "study.gen", "study.sample", "study.map"})
        folder.put(file, data.read(file));
    const auto end = run(folder, line);
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(e2e::last_line(end), "ERROR: " + std::string(GetParam().message));
    EXPECT_EQ(support::lines_of(support::read_file(folder.at("run.log"))).back(),
              "ERROR: " + std::string(GetParam().message));
    EXPECT_NE(end.out.find("\033[33mERROR:\033[0m "), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    command_line, refused_values,
    testing::Values(
        refusal{"no_map", "-B study -O out -L run.log", "You did not specify a genetic map!"},
        refusal{"negative_seed", "-B study -M study.map -O out -L run.log --seed -1",
                "Random number generator needs a positive seed value"},
        refusal{"no_thread", USUAL + "-T 0", "You must use at least 1 thread"},
        refusal{"empty_interval", USUAL + "--input-from 5 --input-to 5",
                "The input window coordinates are incorrect (must have --input-from >= 0 & --input-to > 0 & "
                "--input-from < input-to"},
        refusal{"fast_and_size", USUAL + "--fast --cluster-size 10",
                "--cluster-size is not compatible with --fast"},
        refusal{"fast_and_early", USUAL + "--fast --early-stopping",
                "--early-stopping is not compatible with --fast"},
        refusal{"size_no_number", USUAL + "--cluster-size nan",
                "You must specify a number for --cluster-size"},
        refusal{"size_too_large", USUAL + "--cluster-size 1e300",
                "You must specify a cluster size of at most 1073741823"},
        refusal{"cluster_burn", USUAL + "--cluster_burn -1", "You must use cluster_burn > 0"},
        refusal{"cluster_prune", USUAL + "--cluster_prune -1", "You must use cluster_prune > 0"},
        refusal{"cluster_main", USUAL + "--cluster_main -1", "You must use cluster_main > 0"},
        refusal{"burn", USUAL + "--burn -1", "You must use at least 0 burn-in iteration"},
        refusal{"prune", USUAL + "--prune 0", "You must use at least 1 pruning iteration"},
        refusal{"main", USUAL + "--main 0", "You must use at least 1 main iteration"},
        refusal{"effective_size", USUAL + "--effective-size 0", "You must specify a positive effective size"},
        refusal{"rho_0", USUAL + "--rho 0", "You must specify a rho value comprised between 0 and 1"},
        refusal{"rho_1", USUAL + "--rho 1", "You must specify a rho value comprised between 0 and 1"},
        refusal{"rho_no_number", USUAL + "--rho nan", "You must specify a number for --rho"},
        refusal{"threshold_half", USUAL + "--input-thr 0.5",
                "You must specify a --input-thr value comprised between 0.5 and 1"},
        refusal{"threshold_above_1", USUAL + "--input-thr 1.01",
                "You must specify a --input-thr value comprised between 0.5 and 1"},
        refusal{"threshold_no_number", USUAL + "--input-thr nan",
                "You must specify a number for --input-thr"},
        refusal{"window", USUAL + "--window 0.09", "You must specify a window size of at least 0.1 Mb"},
        refusal{"window_no_number", USUAL + "--window nan", "You must specify a number for --window"},
        refusal{"window_too_wide", USUAL + "--window 2148",
                "You must specify a window size of at most 2147 Mb"},
        refusal{"window_endless", USUAL + "--window inf",
                "You must specify a window size of at most 2147 Mb"},
        refusal{"filter_list", USUAL + "--exclude-snp absent",
                "[absent] is impossible to open, check file existence or reading permissions"},
        refusal{"no_input", "-M study.map -O out -L run.log",
                "You must specify at least one unphased input file with --input-bed or --input-gen"},
        refusal{"two_inputs", USUAL + "-G study",
                "You must specify no more than one unphased input file with --input-bed or --input-gen"},
        refusal{"no_output", "-B study -M study.map -L run.log",
                "You must specify at least one phased output file with --output-max or --output-graph"},
        refusal{"bed_prefix", "-B absent -M study.map -O out -L run.log",
                "absent.bed is impossible to open, check file existence or reading permissions"},
        refusal{"bed_name", "-B study.bed study.bim absent -M study.map -O out -L run.log",
                "absent is impossible to open, check file existence or reading permissions"},
        refusal{"bed_two_names", "-B study.bed study.bim -M study.map -O out -L run.log",
                "Incorrect number of arguments given to --input-bed (it must be 3 files)"},
        refusal{"gen_prefix", "-G absent -M study.map -O out -L run.log",
                "absent.gen is impossible to open, check file existence or reading permissions"},
        refusal{"gen_three_names", "-G a b c -M study.map -O out -L run.log",
                "Incorrect number of arguments given to --input-gen (it must be 2 files)"},
        refusal{"panel_two_names", USUAL + "-R a b",
                "Incorrect number of arguments given to --input-ref (it must be 3 files)"},
        refusal{"panel_absent", USUAL + "-R a b c",
                "a is impossible to open, check file existence or reading permissions"},
        refusal{"map_absent", "-B study -M absent -O out -L run.log",
                "absent is impossible to open, check file existence or reading permissions"},
        refusal{"map_is_a_folder", "-B study -M . -O out -L run.log",
                ". is impossible to open, check file existence or reading permissions"},
        refusal{"output_folder", "-B study -M study.map -O absent/out -L run.log",
                "absent/out.haps is impossible to create, check writing permissions"},
        refusal{"output_name", "-B study -M study.map -O out.haps absent/out -L run.log",
                "absent/out is impossible to create, check writing permissions"},
        refusal{"output_three_names", "-B study -M study.map -O a b c -L run.log",
                "Incorrect number of arguments given to --output-max"},
        refusal{"too_many_threads_of_text", USUAL + "--thread -2", "You must use at least 1 thread"}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(command_line, an_empty_name_is_reported_as_a_file_that_cannot_be_opened) {
    const support::temporary_folder folder;
    const auto end = run(folder, e2e::arguments{"-B", "", "b", "c", "-M", "m", "-O", "out", "-L", "run.log"});
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(e2e::last_line(end),
              "ERROR:  is impossible to open, check file existence or reading permissions");
}

struct syntax_error {
    const char* name;
    const char* line;
    const char* piece;
};

void PrintTo(const syntax_error& s, std::ostream* out) {
    *out << s.name;
}

class option_syntax : public testing::TestWithParam<syntax_error> {};

TEST_P(option_syntax, ends_with_status_0_and_one_line) {
    const support::temporary_folder folder;
    const auto end = run(folder, GetParam().line);
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(support::lines_of(end.out).size(), 1U);
    EXPECT_EQ(end.out.substr(0, 14), "Phaser mode : ");
    EXPECT_NE(end.out.find(GetParam().piece), std::string::npos) << end.out;
    EXPECT_TRUE(e2e::files_in(folder).empty());
}

INSTANTIATE_TEST_SUITE_P(command_line, option_syntax,
                         testing::Values(syntax_error{"unknown", "--bogus 1", "bogus"},
                                         syntax_error{"no_integer", "--burn seven", "seven"},
                                         syntax_error{"fraction", "--states 10.5", "10.5"},
                                         // Placeholders in the messages of the option parser.
                                         syntax_error{"mark_as_value", "--seed %value%", "('%value%')"},
                                         syntax_error{"mark_as_option", "--%option% 1", "'--%option%'"},
                                         syntax_error{"too_large", "--seed 99999999999", "99999999999"},
                                         syntax_error{"no_value", "--main", "main"},
                                         syntax_error{"switch_with_value", "--fast=1", "fast"},
                                         syntax_error{"twice", "--burn 1 --burn 2", "burn"},
                                         syntax_error{"ambiguous", "--cluster 5", "cluster"}),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(command_line, without_arguments_leaves_a_log_of_the_default_name) {
    const support::temporary_folder folder;
    const auto end = run(folder, "");
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(e2e::last_line(end), "ERROR: You did not specify a genetic map!");
    const auto files = e2e::files_in(folder);
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].substr(0, 8), "tolvane_");
    EXPECT_EQ(files[0].substr(files[0].size() - 4), ".log");
    EXPECT_EQ(files[0].size(), std::string("tolvane_20112026_23h11m38s_.log").size() + 36);
    EXPECT_EQ(support::read_file(folder.at(files[0])),
              "Mode    : Phaser\nOptions :\nERROR: You did not specify a genetic map!\n");
}

TEST(command_line, help_prints_banner_and_options_and_leaves_no_log) {
    const support::temporary_folder folder;
    const auto end = run(folder, "--seed -5 --help");
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.out.substr(0, end.out.find("  * Authors")),
              "\n\033[33mT\033[0molvane \033[33mP\033[0mhasing \033[33mT\033[0mool\n");
    for (const char* piece :
         {"  * Version : v3.r881\n", "-H [ --help ]", "-W [ --window ] arg (=2)", "--cluster-size",
          "\033[33mMCMC options\033[0m", "\033[33mOutput file options\033[0m"})
        EXPECT_NE(end.out.find(piece), std::string::npos) << piece;
    EXPECT_TRUE(e2e::files_in(folder).empty());
}

TEST(command_line, is_repeated_in_the_log) {
    const support::temporary_folder folder;
    run(folder, "--burn 3 -L run.txt --seed 7 stray");
    EXPECT_EQ(support::lines_of(support::read_file(folder.at("run.txt.log")))[1],
              "Options : --burn 3 -L run.txt --seed 7 stray");
}

TEST(command_line, a_log_that_cannot_be_created_is_reported_on_standard_error) {
    const support::temporary_folder folder;
    const auto end = run(folder, "-L absent/run.log");
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.err, "Impossible to open log file[absent/run.log] check writing permissions!\n");
}

TEST(command_line, warnings_are_coloured_on_the_console_and_plain_in_the_log) {
    const e2e::study data;
    const auto end = run(data.folder(), USUAL +
                                            "--effective-size 20 --window 11 --burn 0 --prune 1 --main 1 "
                                            "--cluster_burn 5 --cluster_prune 5 --cluster_main 5 --states 8");
    EXPECT_EQ(end.status, 0);
    const std::string log = data.read("run.log");
    EXPECT_EQ(log.find('\033'), std::string::npos);
    for (const char* text :
         {"cluster_burn > burn, check parameters", "cluster_prune > prune, check parameters",
          "cluster_main > main, check parameters", "Small effective size, check parameters.",
          "Long window size may decrease accuracy. No more than 10 Mb is advised."}) {
        EXPECT_NE(end.out.find("\033[33mWARNING:\033[0m " + std::string(text) + "\n"), std::string::npos)
            << text;
        EXPECT_NE(log.find("WARNING: " + std::string(text) + "\n"), std::string::npos) << text;
    }
}

struct crash {
    const char* name;
    const char* line;
    int signal;
    const char* piece;
    const char* advice;
};

void PrintTo(const crash& c, std::ostream* out) {
    *out << c.name;
}

class crashes : public testing::TestWithParam<crash> {};

TEST_P(crashes, end_by_their_signal) {
    const e2e::study data;
    const auto end = run(data.folder(), USUAL + GetParam().line);
    EXPECT_EQ(end.signal, GetParam().signal);
    EXPECT_NE(end.err.find(GetParam().piece), std::string::npos) << end.err;
    EXPECT_TRUE(end.err.starts_with(GetParam().advice)) << end.err;
    EXPECT_FALSE(std::filesystem::exists(data.at("out.haps")) && !data.read("out.haps").empty());
}

constexpr const char* IDX_H = "Assertion `idxH.size()>4' failed";
constexpr const char* STEPS = "--cluster_burn, --cluster_prune and --cluster_main must be 1 or more.\n";

INSTANTIATE_TEST_SUITE_P(
    command_line, crashes,
    testing::Values(crash{"cluster_size_1", "--cluster-size 1", SIGABRT, "Assertion `cluster_size>1' failed",
                          "--cluster-size is the number of haplotypes in a cluster: use 2 or more"},
                    crash{"four_states", "--states 4", SIGABRT, IDX_H,
                          "Only 4 conditioning haplotypes were found for S01: use --states 5 or more, "},
                    crash{"no_states", "--states 0", SIGABRT, IDX_H, "Only 0 conditioning haplotypes"},
                    crash{"negative_states", "--states -3", SIGABRT, IDX_H, "Only 0 conditioning haplotypes"},
                    crash{"cluster_burn_0", "--cluster_burn 0", SIGFPE, "", STEPS},
                    crash{"cluster_prune_0", "--burn 0 --cluster_prune 0", SIGFPE, "", STEPS},
                    crash{"cluster_main_0", "--burn 0 --prune 1 --states 8 --cluster_main 0", SIGFPE, "",
                          STEPS}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(command_line, trees_of_too_little_end_by_an_assertion) {
    const auto ends_by = [](const e2e::study& data, const std::string& options, const std::string& text) {
        const auto end = run(data.folder(), USUAL + "--burn 0 --prune 1 --main 1 " + options);
        EXPECT_EQ(end.signal, SIGABRT) << options;
        EXPECT_NE(end.err.find("Assertion `" + text + "' failed"), std::string::npos) << options << end.err;
        const auto lines = support::lines_of(end.err);
        EXPECT_GE(lines.size(), 2U) << end.err;
        EXPECT_NE(lines.front().find(": "), std::string::npos) << "no advice: " << end.err;
        EXPECT_NE(lines.front().find("--cluster-size"), std::string::npos) << "no advice: " << end.err;
    };
    const e2e::study few_people, enough(100, 0.6);
    ends_by(few_people, "--states 8 --cluster-size 10", "n.first>0&&n.second>0");
    const auto bim = support::lines_of(enough.read("study.bim"));
    enough.write("few.txt", e2e::words(bim.front())[3] + "\n" + e2e::words(bim.back())[3] + "\n");
    ends_by(enough, "--states 8 --cluster-size 10 --window 0.1 --include-snp few.txt",
            "(output[i] - prev) > 0");
}

TEST(command_line, a_step_of_0_in_a_phase_without_iterations_does_no_harm) {
    const e2e::study data;
    EXPECT_EQ(run(data.folder(), USUAL + "--burn 0 --prune 1 --main 1 --states 8 --cluster_burn 0").status,
              0);
}

}  // namespace
