#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "program.h"
#include "study.h"
#include "support/files.h"

// Runs in which calls of the C library fail one by one; failing_calls.cpp makes them fail.

namespace {

using variables = std::vector<std::pair<const char*, std::string>>;

const std::string SHORT = " -M study.map --seed 1 --burn 0 --prune 1 --main 1 --states 8 -L run.log ";

support::child_end run_with(const e2e::study& data, const std::string& line, const variables& settings) {
    return e2e::run(data.folder(), line, [&settings] {
        ::setenv("LD_PRELOAD", TOLVANE_FAILING_CALLS, 1);
        for (const auto& [name, value] : settings) ::setenv(name, value.c_str(), 1);
    });
}

std::vector<std::string> unfinished_files(const e2e::study& data) {
    std::vector<std::string> found;
    for (const std::string& name : e2e::files_in(data.folder()))
        if (name.find(".part-") != std::string::npos) found.push_back(name);
    return found;
}

struct memory_case {
    const char* name;
    const char* variable;
    const char* line;
};

void PrintTo(const memory_case& c, std::ostream* out) {
    *out << c.name;
}

class allocations : public testing::TestWithParam<memory_case> {};

/// Every n-th allocation is tried, with another first one in each case. All of them with
/// TOLVANE_EVERY_ALLOCATION, which takes minutes.
int step_of_allocations() {
    return std::getenv("TOLVANE_EVERY_ALLOCATION") != nullptr ? 1 : 13;
}

TEST_P(allocations, that_fail_end_in_a_message) {
    const e2e::study data(8, 0.1, 6);
    data.write("list", "nobody\n");
    const std::string line = GetParam().line + SHORT;
    ASSERT_EQ(run_with(data, line, {{"COUNT_FILE", "count"}}).status, 0);
    const int n = std::stoi(data.read("count")), step = step_of_allocations();
    ASSERT_GT(n, 1000);
    const int first = 1 + static_cast<int>(std::string(GetParam().name).size()) % step;
    int n_failed = 0;
    for (int i = first; i <= n; i += step) {
        const auto end = run_with(data, line, {{GetParam().variable, std::to_string(i)}});
        const std::string what =
            std::string(GetParam().variable) + "=" + std::to_string(i) + ": " + end.out + end.err;
        if (end.status == 0) continue;  // some libraries do with less
        ++n_failed;
        EXPECT_EQ(end.status, 1) << what;
        const std::string console = e2e::plain(end.out);
        EXPECT_TRUE(console.find("ERROR: Not enough memory\n") != std::string::npos ||
                    console.find("ERROR: Impossible to start 3 threads: ") != std::string::npos ||
                    console.find("could not be made: the disk or the memory may be full") !=
                        std::string::npos)
            << what;
        EXPECT_EQ(unfinished_files(data), std::vector<std::string>()) << what;
    }
    EXPECT_GT(n_failed, n / step / 2);
}

INSTANTIATE_TEST_SUITE_P(
    failing_calls, allocations,
    testing::Values(
        memory_case{"plain_output", "FAIL_ALLOCATION", "-B study -O out"},
        memory_case{"compressed_output", "FAIL_ALLOCATION", "-B study -O out.haps.gz out.sample.bz2"},
        memory_case{"compressed_input", "FAIL_ALLOCATION",
                    "-G study.gen.gz study.sample -O out.haps.bz2 out.sample.gz --exclude-ind list"},
        memory_case{"bzip2_input_and_threads", "FAIL_ALLOCATION",
                    "-G study.gen.bz2 study.sample -O out -T 3"},
        memory_case{"panel", "FAIL_ALLOCATION",
                    "-B study -R study.panel.haps.gz study.panel.legend.gz study.panel.sample -O out"},
        memory_case{"vcf", "FAIL_ALLOCATION",
                    "-V study.vcf.gz -R study.panel.vcf.gz --output-vcf out.bcf --exclude-ind list"},
        memory_case{"vcf_of_plink", "FAIL_ALLOCATION", "-B study --output-vcf out.vcf.gz --output-index tbi"},
        memory_case{"all_from_one_on", "FAIL_FROM", "-B study -O out.haps.gz out.sample.bz2"},
        memory_case{"all_from_one_on_with_threads", "FAIL_FROM", "-B study -O out -T 3"}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(failing_calls, a_file_that_cannot_be_closed_ends_the_run) {
    const e2e::study data(8, 0.1);
    for (const std::string name : {"out.haps", "out.sample", "run.ind.mm", "run.snp.mm", "run.log"}) {
        std::filesystem::remove(data.at("run.log"));
        const auto end = run_with(data, "-B study -O out" + SHORT, {{"FAIL_CLOSE", name}});
        EXPECT_EQ(end.status, 1) << name;
        EXPECT_EQ(e2e::last_line(end), "ERROR: " + name + " could not be written: Input/output error");
        EXPECT_EQ(unfinished_files(data), std::vector<std::string>()) << name;
    }
    EXPECT_NE(data.read("out.haps"), "") << "only the log failed in the last run";
}

// The side files are renamed first, then the haplotypes, then the list of individuals.
constexpr int RENAMES_HAPS = 3, RENAMES_SAMPLE = 4;

TEST(failing_calls, files_that_cannot_be_renamed_are_kept_and_named) {
    for (const int which : {RENAMES_HAPS, RENAMES_SAMPLE}) {
        const e2e::study data(8, 0.1);
        const std::string line = "-B study -O out" + SHORT;
        ASSERT_EQ(run_with(data, line, {}).status, 0);
        const std::string haps = data.read("out.haps"), sample = data.read("out.sample");
        data.write("out.haps", "old haps");
        data.write("out.sample", "old sample");
        const auto end = run_with(
            data, line, {{"FAIL_RENAME", std::to_string(which)}, {"RENAME_ERROR", std::to_string(EIO)}});
        EXPECT_EQ(end.status, 1);
        const std::string message = e2e::last_line(end);
        const auto kept = unfinished_files(data);
        ASSERT_EQ(kept.size(), which == RENAMES_HAPS ? 2U : 1U);
        for (const std::string& name : kept) {
            EXPECT_NE(message.find(name), std::string::npos) << message;
            EXPECT_EQ(data.read(name), name.starts_with("out.haps") ? haps : sample);
        }
        EXPECT_EQ(data.read("out.haps"), which == RENAMES_HAPS ? "old haps" : haps);
        EXPECT_EQ(data.read("out.sample"), "old sample");
    }
}

TEST(failing_calls, files_that_may_not_be_renamed_are_copied) {
    for (const int reason : {EBUSY, EPERM, EACCES}) {
        const e2e::study data(8, 0.1);
        const std::string line = "-B study -O out" + SHORT;
        ASSERT_EQ(run_with(data, line, {}).status, 0);
        const std::string haps = data.read("out.haps");
        data.write("out.haps", "old");
        EXPECT_EQ(
            run_with(data, line, {{"FAIL_RENAME", "3"}, {"RENAME_ERROR", std::to_string(reason)}}).status, 0);
        EXPECT_EQ(data.read("out.haps"), haps);
        EXPECT_TRUE(unfinished_files(data).empty());
    }
}

TEST(failing_calls, interrupted_writes_are_repeated) {
    const e2e::study data(8, 0.1);
    for (const std::string output : {"-O out", "-O out.haps.gz out.sample.bz2"}) {
        const std::string line = "-B study " + output + SHORT;
        ASSERT_EQ(run_with(data, line, {}).status, 0);
        const bool is_plain = output == "-O out";
        const std::string haps = is_plain ? "out.haps" : "out.haps.gz", good = data.read(haps);
        ASSERT_EQ(run_with(data, line, {{"INTERRUPT_WRITES", "1"}}).status, 0);
        EXPECT_EQ(data.read(haps), good);
    }
}

}  // namespace
