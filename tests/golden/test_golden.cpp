#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "support/child_process.h"
#include "support/files.h"
#include "support/temporary_folder.h"

namespace {

/// A line of cases.tsv.
struct golden_case {
    std::string name;
    std::string arguments;
};

void PrintTo(const golden_case& c, std::ostream* out) {
    *out << c.name;
}

std::vector<golden_case> read_cases() {
    std::vector<golden_case> cases;
    for (const std::string& line : support::lines_of(support::read_file(GOLDEN_FOLDER "/cases.tsv")))
        if (!line.empty() && line[0] != '#')
            cases.push_back({line.substr(0, line.find('\t')), line.substr(line.find('\t') + 1)});
    return cases;
}

/// The program that was built, or another one, such as the program under emulation.
std::string program() {
    const char* other = std::getenv("TOLVANE_GOLDEN_PROGRAM");
    return other != nullptr ? other : TOLVANE_PROGRAM;
}

void run_program(const support::temporary_folder& folder, const std::string& arguments) {
    const std::string name = program();
    const auto end = support::run_in_child([&] {
        std::istringstream stream(arguments + " -O out -L run.log");
        const std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
        std::vector<char*> argv{const_cast<char*>(name.c_str())};
        for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
        argv.push_back(nullptr);
        if (::chdir(folder.path().c_str()) == 0) ::execv(name.c_str(), argv.data());
        ::_exit(127);
    });
    ASSERT_EQ(end.status, 0) << end.out << end.err;
}

/// The log without date, running time and the number of threads.
std::string comparable(const std::string& log) {
    std::string text = std::regex_replace(log, std::regex("Date    : [^\n]*"), "Date    : <date>");
    text = std::regex_replace(text, std::regex("Running time: [0-9]+"), "Running time: <n>");
    text = std::regex_replace(text, std::regex("(Options :.*) -T [0-9]+ "), "$1 ");
    return std::regex_replace(text, std::regex("Parallelisation: [0-9]+"), "Parallelisation: 1");
}

void link_data(const support::temporary_folder& folder) {
    for (const auto& entry : std::filesystem::directory_iterator(GOLDEN_FOLDER "/data"))
        std::filesystem::create_symlink(entry.path(), folder.at(entry.path().filename().string()));
}

std::filesystem::path expected_of(const golden_case& c) {
    return std::filesystem::path(GOLDEN_FOLDER "/expected") / c.name;
}

void expect_recorded(const support::temporary_folder& folder, const golden_case& c) {
    EXPECT_EQ(comparable(support::read_file(folder.at("run.log"))),
              support::read_file(expected_of(c) / "run.log"));
    EXPECT_TRUE(support::read_file(folder.at("out.haps")) ==
                support::gunzip(support::read_file(expected_of(c) / "out.haps.gz")))
        << "haplotypes differ";
}

class golden : public testing::TestWithParam<golden_case> {};

TEST_P(golden, gives_the_same_bytes) {
    const support::temporary_folder folder;
    link_data(folder);
    run_program(folder, GetParam().arguments);
    const std::filesystem::path expected = expected_of(GetParam());
    if (std::getenv("TOLVANE_RECORD_GOLDEN") != nullptr) {
        std::filesystem::create_directories(expected);
        std::ofstream(expected / "out.haps.gz") << support::gzip(support::read_file(folder.at("out.haps")));
        std::ofstream(expected / "run.log") << comparable(support::read_file(folder.at("run.log")));
        GTEST_SKIP() << "recorded";
    }
    expect_recorded(folder, GetParam());
}

// Programs with sanitizers are slow.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::array THREADS = {3};
#else
constexpr std::array THREADS = {2, 3, 8, 33};
#endif

TEST_P(golden, gives_the_same_bytes_with_threads) {
    for (const int n_threads : THREADS) {
        SCOPED_TRACE(n_threads);
        const support::temporary_folder folder;
        link_data(folder);
        run_program(folder, GetParam().arguments + " -T " + std::to_string(n_threads));
        expect_recorded(folder, GetParam());
    }
}

INSTANTIATE_TEST_SUITE_P(runs, golden, testing::ValuesIn(read_cases()),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
