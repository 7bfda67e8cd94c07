#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <clocale>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <thread>

#include "program.h"
#include "study.h"
#include "support/files.h"

// External faults: full disks, limits, signals, other runs, damaged input. In all cases either the run is
// complete (status 0, "Running time: " at the end of its log) and so are all its files, or neither is, and
// the run gives the reason if possible.

namespace {

using e2e::background_run;
using e2e::run;

const std::string SHORT = "-B study -M study.map --seed 1 --burn 0 --prune 1 --main 1 --states 8 ";
const std::string LONG = "-B study -M study.map --seed 1 --burn 0 --prune 1 --main 500 --states 20 -T 2 ";

bool log_says_complete(const std::string& log) {
    const auto lines = support::lines_of(log);
    return !lines.empty() && lines.back().starts_with("Running time: ") && log.back() == '\n';
}

/// Checks that a run ended with status 1 and a message, and that it does not look complete.
void expect_refusal(const e2e::study& data, const support::child_end& end, const std::string& what) {
    EXPECT_EQ(end.status, 1) << what << "\n" << end.out << end.err;
    // The message may follow an unfinished progress line, or precede one of another thread.
    EXPECT_NE(e2e::plain(end.out).find("ERROR: "), std::string::npos) << what << "\n" << end.out << end.err;
    EXPECT_FALSE(log_says_complete(data.read("run.log"))) << what;
}

void set_limit(decltype(RLIMIT_AS) resource, rlim_t value) {
    const rlimit limit{value, value};
    if (::setrlimit(resource, &limit) != 0) ::_exit(125);
}

void sleep_milliseconds(int n) {
    std::this_thread::sleep_for(std::chrono::milliseconds(n));
}

/// Waits until the run that writes run.log has started its iterations.
void wait_for_iterations(const e2e::study& data) {
    for (int i = 0; i < 6000; ++i) {
        if (std::filesystem::exists(data.at("run.log")) &&
            data.read("run.log").find("iteration [1/500]") != std::string::npos)
            return;
        sleep_milliseconds(10);
    }
    FAIL() << "the run hasn't come to its iterations";
}

/// Replaces a file by a named pipe: opening it for writing waits until the program opens it for reading, and
/// the program waits for the text.
void replace_by_pipe(const e2e::study& data, const std::string& name) {
    std::filesystem::remove(data.at(name));
    ASSERT_EQ(::mkfifo(data.at(name).c_str(), 0600), 0);
}

TEST(faults, a_limit_of_file_size_ends_in_a_message_or_whole_files) {
    const e2e::study data(8, 0.3);
    const std::vector<std::string> names = {"out.haps", "out.sample", "run.ind.mm", "run.snp.mm"};
    ASSERT_EQ(run(data.folder(), SHORT + "-O out -L run.log").status, 0);
    std::vector<std::string> whole;
    for (const std::string& name : names) whole.push_back(data.read(name));
    int n_failed = 0, n_complete = 0;
#if defined(__SANITIZE_THREAD__)
    constexpr rlim_t LEAST = 97;  // this sanitizer writes a small file when a program starts
#else
    constexpr rlim_t LEAST = 0;
#endif
    // The console is a pipe: it is not limited, and large enough for the whole output.
    for (rlim_t limit = LEAST; limit < 8000; limit += limit < 1600 ? 97 : 900) {
        int console[2];
        ASSERT_EQ(::pipe(console), 0);
        support::child_end end = run(data.folder(), SHORT + "-O out -L run.log", [&] {
            ::dup2(console[1], STDOUT_FILENO);
            set_limit(RLIMIT_FSIZE, limit);
        });
        ::close(console[1]);
        char text[1 << 16];
        for (ssize_t n = 0; (n = ::read(console[0], text, sizeof text)) > 0;) end.out.append(text, n);
        ::close(console[0]);
        const std::string what = "limit " + std::to_string(limit);
        if (end.status == 0) {
            ++n_complete;
            for (std::size_t f = 0; f < names.size(); ++f) EXPECT_EQ(data.read(names[f]), whole[f]) << what;
            EXPECT_TRUE(log_says_complete(data.read("run.log"))) << what;
        } else {
            ++n_failed;
            expect_refusal(data, end, what);
            EXPECT_TRUE(e2e::last_line(end).ends_with("could not be written: File too large")) << what;
        }
    }
    EXPECT_GE(n_failed, 10);
    EXPECT_GE(n_complete, 1);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // these reserve terabytes
TEST(faults, too_little_memory_ends_in_a_message) {
    const e2e::study data(40, 0.6);
    const auto run_within = [&data](rlim_t kilobytes, const std::string& line) {
        return run(data.folder(), line, [kilobytes] { set_limit(RLIMIT_AS, kilobytes * 1024); });
    };
    // With less memory the system cannot load the program.
    rlim_t least = 5000;
    while (run_within(least, "--help").status != 0) least += 100;
    for (const std::string threads : {"1", "3"}) {
        int n_failed = 0, n_complete = 0;
        for (rlim_t limit = least + 200; n_complete < 1; limit += limit < least + 3000 ? 100 : limit / 3) {
            const auto end = run_within(limit, SHORT + "-O out -L run.log -T " + threads);
            const std::string what = std::to_string(limit) + " kB, threads " + threads;
            if (end.status == 0) {
                ++n_complete;
                EXPECT_TRUE(log_says_complete(data.read("run.log"))) << what;
                continue;
            }
            ++n_failed;
            expect_refusal(data, end, what);
            const std::string console = e2e::plain(end.out);
            EXPECT_TRUE(console.find("ERROR: Not enough memory\n") != std::string::npos ||
                        console.find("ERROR: Impossible to start " + threads + " threads: ") !=
                            std::string::npos)
                << what << ": " << console;
        }
        EXPECT_GE(n_failed, 3);
    }
}
#endif

TEST(faults, an_output_folder_that_goes_while_running_ends_the_run) {
    const e2e::study data(8, 0.3);
    const std::string map = data.read("study.map");
    std::filesystem::create_directory(data.at("sub"));
    replace_by_pipe(data, "study.map");
    background_run running(data.folder(), SHORT + "-O sub/out -L run.log");
    support::write_file(data.at("study.map"), "");  // the program has opened its map now
    std::filesystem::remove_all(data.at("sub"));
    EXPECT_EQ(running.wait(), 1);

    std::filesystem::create_directory(data.at("sub"));
    background_run again(data.folder(), SHORT + "-O sub/out -L run.log");
    {
        std::ofstream pipe(data.at("study.map"));
        std::filesystem::remove_all(data.at("sub"));
        pipe << map;
    }
    EXPECT_EQ(again.wait(), 1);
    EXPECT_TRUE(data.read("run.log").ends_with(
        "ERROR: sub/out.sample is impossible to create, check writing permissions\n"));
}

TEST(faults, the_folder_of_the_log_that_goes_while_running_ends_the_run) {
    const e2e::study data(8, 0.3);
    const std::string map = data.read("study.map");
    std::filesystem::create_directory(data.at("sub"));
    replace_by_pipe(data, "study.map");
    background_run running(data.folder(), SHORT + "-O out -L sub/run.log");
    {
        std::ofstream pipe(data.at("study.map"));
        std::filesystem::remove_all(data.at("sub"));
        pipe << map;
    }
    EXPECT_EQ(running.wait(), 1);
    EXPECT_EQ(data.read("out.haps"), "");
}

// Programs with sanitizers start slowly, so these tests take fewer steps there. Unit tests truncate streams
// at every byte with sanitizers, too.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t BYTE_STEP = 7;
#else
constexpr std::size_t BYTE_STEP = 1;
#endif

/// Truncates a file at every byte and expects a refusal each time, with a message that `is_expected` accepts.
void expect_every_cut_refused(const e2e::study& data, const std::string& name, const std::string& line,
                              const std::function<bool(const std::string&)>& is_expected) {
    const std::string whole = data.read(name);
    ASSERT_EQ(run(data.folder(), line + " -O out -L run.log").status, 0);
    std::filesystem::remove(data.at("out.haps"));
    for (std::size_t size = 0; size < whole.size(); size += BYTE_STEP) {
        data.write(name, whole.substr(0, size));
        const auto end = run(data.folder(), line + " -O out -L run.log");
        const std::string what = name + " cut to " + std::to_string(size);
        expect_refusal(data, end, what);
        EXPECT_TRUE(is_expected(e2e::last_line(end))) << what << ": " << e2e::last_line(end);
        EXPECT_EQ(data.read("out.haps"), "") << what;
    }
    data.write(name, whole);
}

auto is(const std::string& message) {
    return [message](const std::string& found) { return found == "ERROR: " + message; };
}

/// For short runs.
const std::string OPTIONS = " -M study.map --seed 1 --burn 0 --prune 1 --main 1 --states 8";

std::string first_lines(const std::string& text, std::size_t n) {
    std::string head;
    for (const std::string& line : support::lines_of(text))
        if (n-- > 0)
            head += line + "\n";
        else
            break;
    return head;
}

TEST(faults, a_bed_file_cut_anywhere_is_refused) {
    const e2e::study data(9, 0.3);
    const std::size_t n_variants = 15, n_bytes = 3 + n_variants * 3;
    data.write("study.bim", first_lines(data.read("study.bim"), n_variants));
    data.write("study.bed", data.read("study.bed").substr(0, n_bytes));
    expect_every_cut_refused(data, "study.bed", "-B study" + OPTIONS, [](const std::string& message) {
        return message == "ERROR: Binary file format unsupported" ||
               message.starts_with("ERROR: Binary file SM corrupted ind=");
    });
}

TEST(faults, a_compressed_gen_file_cut_anywhere_is_refused) {
    const e2e::study data(9, 0.3);
    const std::string gen = first_lines(data.read("study.gen"), 10);
    data.write("study.gen.gz", support::gzip(gen));
    expect_every_cut_refused(data, "study.gen.gz", "-G study.gen.gz study.sample" + OPTIONS,
                             is("study.gen.gz could not be read: the gzip data is damaged or cut short"));
    data.write("study.gen.bz2", support::bzip2(gen));
    expect_every_cut_refused(data, "study.gen.bz2", "-G study.gen.bz2 study.sample" + OPTIONS,
                             is("study.gen.bz2 could not be read: the bzip2 data is damaged or cut short"));
}

TEST(faults, a_compressed_panel_cut_anywhere_is_refused) {
    const e2e::study data(9, 0.3, 6);
    data.write("study.bim", first_lines(data.read("study.bim"), 10));
    data.write("study.bed", data.read("study.bed").substr(0, 3 + 10 * 3));
    data.write("panel.haps.bz2", support::bzip2(support::gunzip(data.read("study.panel.haps.gz"))));
    expect_every_cut_refused(data, "panel.haps.bz2",
                             "-B study -R panel.haps.bz2 study.panel.legend.gz study.panel.sample" + OPTIONS,
                             is("panel.haps.bz2 could not be read: the bzip2 data is damaged or cut short"));
}

TEST(faults, a_plain_gen_file_cut_within_a_line_is_refused_and_at_its_end_is_shorter) {
    const e2e::study data(9, 0.3);
    const std::string gen = first_lines(data.read("study.gen"), 3);
    const std::size_t last_line = gen.rfind('\n', gen.size() - 2) + 1;
    for (std::size_t size = last_line; size <= gen.size(); ++size) {
        data.write("study.gen", gen.substr(0, size));
        const auto end = run(data.folder(), "-G study" + OPTIONS + " -O out -L run.log");
        const std::string what = "cut to " + std::to_string(size);
        if (size == last_line || size + 1 >= gen.size()) {  // the last line needs no line end
            EXPECT_EQ(end.status, 0) << what << end.out;
            EXPECT_EQ(support::lines_of(data.read("out.haps")).size(), size == last_line ? 2U : 3U) << what;
        } else {
            expect_refusal(data, end, what);
            EXPECT_TRUE(e2e::last_line(end).starts_with("ERROR: Line=3 found=")) << what;
        }
    }
}

TEST(faults, a_compressed_file_with_any_byte_changed_is_refused_or_reads_right) {
    const e2e::study data(9, 0.3);
    const std::string gen = first_lines(data.read("study.gen"), 6);
    int n_refused = 0, n_right = 0;
    for (const std::string ending : {".gz", ".bz2"}) {
        const std::string name = "study.gen" + ending;
        const std::string good = ending == ".gz" ? support::gzip(gen) : support::bzip2(gen);
        data.write(name, good);
        const std::string line = "-G " + name + " study.sample" + OPTIONS + " -O out -L run.log";
        ASSERT_EQ(run(data.folder(), line).status, 0);
        const std::string haplotypes = data.read("out.haps");
        for (std::size_t at = 0; at < good.size(); at += BYTE_STEP) {
            std::string bad = good;
            bad[at] = static_cast<char>(bad[at] ^ (1 << at % 8));
            data.write(name, bad);
            const auto end = run(data.folder(), line);
            const std::string what = name + " changed at " + std::to_string(at);
            n_right += end.status == 0;
            n_refused += end.status != 0;
            if (end.status != 0)
                expect_refusal(data, end, what);
            else
                EXPECT_EQ(data.read("out.haps"), haplotypes) << what;
        }
    }
    EXPECT_GT(n_refused, 10 * n_right);  // some header bytes of gzip do not affect the data
}

TEST(faults, an_unreadable_file_is_named) {
    const e2e::study data(9, 0.3, 6);
    constexpr uid_t NOBODY = 65534;
    const bool is_root = ::geteuid() == 0;
    ASSERT_EQ(::chmod(data.folder().path().c_str(), 0777), 0);
    const std::string line =
        "-B study -M study.map -R study.panel.haps.gz study.panel.legend.gz study.panel.sample "
        "--include-ind list --seed 1 --burn 0 --prune 1 --main 1 --states 8 -O out -L run.log";
    data.write("list", "");
    for (const std::string name : {"study.bed", "study.bim", "study.fam", "study.map", "study.panel.haps.gz",
                                   "study.panel.legend.gz", "study.panel.sample", "list"}) {
        std::filesystem::permissions(data.at(name), std::filesystem::perms::none);
        const auto end = run(data.folder(), line, [is_root] {
            if (is_root && ::setuid(NOBODY) != 0) ::_exit(124);  // root may read anything
        });
        std::filesystem::permissions(data.at(name), static_cast<std::filesystem::perms>(0644));
        EXPECT_EQ(end.status, 1) << name << end.out << end.err;
        EXPECT_EQ(e2e::last_line(end),
                  "ERROR: " + (name == "list" ? "[" + name + "]" : name) +
                      " is impossible to open, check file existence or reading permissions");
    }
}

TEST(faults, a_run_killed_at_any_moment_is_complete_or_does_not_look_so) {
    const e2e::study data(30, 0.8);
    const std::string line = SHORT + "-O out -L run.log";
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(run(data.folder(), line).status, 0);
    const std::chrono::duration<double> whole_time = std::chrono::steady_clock::now() - start;
    const std::string haps = data.read("out.haps"), sample = data.read("out.sample");
    std::mt19937 random(7);
    std::uniform_real_distribution<double> share(0.0, 1.2);
    int n_killed = 0;
    for (int i = 0; i < 40; ++i) {
        for (const char* name : {"out.haps", "out.sample", "run.log"}) std::filesystem::remove(data.at(name));
        background_run running(data.folder(), line);
        std::this_thread::sleep_for(whole_time * share(random));
        running.signal(SIGKILL);
        const int status = running.wait();
        n_killed += status == 128 + SIGKILL;
        const bool has_log = std::filesystem::exists(data.at("run.log"));
        const bool looks_complete = has_log && log_says_complete(data.read("run.log"));
        EXPECT_TRUE(status == 128 + SIGKILL || (status == 0 && looks_complete)) << status;
        if (!looks_complete) continue;
        EXPECT_EQ(data.read("out.haps"), haps);
        EXPECT_EQ(data.read("out.sample"), sample);
    }
    EXPECT_GE(n_killed, 10);
}

TEST(faults, signals_of_interruption_end_a_run_at_once) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const e2e::study data(40, 1.0);
        background_run running(data.folder(), LONG + "-O out -L run.log");
        wait_for_iterations(data);
        const auto start = std::chrono::steady_clock::now();
        running.signal(signal);
        EXPECT_EQ(running.wait(), 128 + signal);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        EXPECT_LT(time.count(), 2.0);
        const std::string log = data.read("run.log");
        EXPECT_FALSE(log_says_complete(log));
        EXPECT_EQ(data.read("out.haps"), "");
    }
}

TEST(faults, a_second_run_with_the_same_output_is_refused_and_does_no_harm) {
    const e2e::study data(8, 0.3);
    const std::string map = data.read("study.map");
    ASSERT_EQ(run(data.folder(), SHORT + "-O alone -L alone.log").status, 0);
    data.write("other.map", map);
    replace_by_pipe(data, "study.map");
    background_run first(data.folder(), SHORT + "-O out -L run.log");
    {
        std::ofstream pipe(data.at("study.map"));
        const std::string log = data.read("run.log");
        for (const auto& [output, busy] : std::vector<std::pair<std::string, std::string>>{
                 {"-O out -L run.log", "run.log"},
                 {"-O more -L run", "run.log"},
                 {"-O out -L other.log", "out.haps"},
                 {"-O x ./out.sample -L other.log", "./out.sample"},
                 {"-O out.sample x -L other.log", "out.sample"}}) {
            const auto second = run(data.folder(), "-B study -M other.map " + output);
            EXPECT_EQ(second.status, 1) << output;
            EXPECT_EQ(e2e::last_line(second), "ERROR: " + busy +
                                                  " is being written by another run; give another name to "
                                                  "the output or the log");
            EXPECT_EQ(data.read("run.log"), log);
        }
        pipe << map;
    }
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(data.read("out.haps"), data.read("alone.haps"));
    EXPECT_EQ(data.read("out.sample"), data.read("alone.sample"));
    EXPECT_TRUE(log_says_complete(data.read("run.log")));
    std::filesystem::remove(data.at("study.map"));
    data.write("study.map", map);
    EXPECT_EQ(run(data.folder(), SHORT + "-O out -L run.log").status, 0);  // no lock is left
}

TEST(faults, outputs_that_another_run_took_over_stay_its_own) {
    const e2e::study data(8, 0.3);
    const std::string map = data.read("study.map");
    const std::vector<std::string> outputs = {"out.haps", "out.sample", "run.log", "run.ind.mm",
                                              "run.snp.mm"};
    data.write("other.map", map);
    replace_by_pipe(data, "study.map");
    background_run first(data.folder(), SHORT + "-O out -L run.log");
    std::vector<std::string> second;
    {
        std::ofstream pipe(data.at("study.map"));
        for (const std::string& name : outputs) std::filesystem::remove(data.at(name));
        const std::string line = "-B study -M other.map --seed 2 --burn 0 --prune 1 --main 1 --states 8 ";
        ASSERT_EQ(run(data.folder(), line + "-O out -L run.log").status, 0);
        for (const std::string& name : outputs) second.push_back(data.read(name));
        pipe << map;
    }
    EXPECT_EQ(first.wait(), 1);
    for (std::size_t i = 0; i < outputs.size(); ++i) EXPECT_EQ(data.read(outputs[i]), second[i]);
}

TEST(faults, the_result_of_a_run_whose_output_was_taken_over_is_not_lost) {
    const e2e::study data(8, 0.3);
    const std::string line = "-B study -M study.map --seed 1 --burn 0 --prune 1 --main 500 --states 20 ";
    ASSERT_EQ(run(data.folder(), line + "-O alone -L alone.log").status, 0);
    background_run first(data.folder(), line + "-O out -L run.log");
    wait_for_iterations(data);
    std::filesystem::remove(data.at("out.haps"));
    data.write("out.haps", "of another run");
    EXPECT_EQ(first.wait(), 1);
    EXPECT_EQ(data.read("out.haps"), "of another run");
    EXPECT_EQ(data.read("out.sample"), "");
    const std::string log = data.read("run.log");
    EXPECT_NE(log.find("ERROR: out.haps was replaced while this run was working; its haplotypes are in "),
              std::string::npos)
        << log;
    int n_kept = 0;
    for (const std::string& name : e2e::files_in(data.folder())) {
        if (name.find(".part-") == std::string::npos) continue;
        ++n_kept;
        EXPECT_NE(log.find(name), std::string::npos) << name;
        EXPECT_EQ(data.read(name), data.read(name.starts_with("out.haps") ? "alone.haps" : "alone.sample"));
    }
    EXPECT_EQ(n_kept, 2);
}

TEST(faults, an_output_that_is_removed_while_running_is_written_all_the_same) {
    const e2e::study data(8, 0.3);
    const std::string map = data.read("study.map");
    ASSERT_EQ(run(data.folder(), SHORT + "-O alone -L alone.log").status, 0);
    replace_by_pipe(data, "study.map");
    background_run running(data.folder(), SHORT + "-O out -L run.log");
    {
        std::ofstream pipe(data.at("study.map"));
        std::filesystem::remove(data.at("out.haps"));
        pipe << map;
    }
    EXPECT_EQ(running.wait(), 0);
    EXPECT_EQ(data.read("out.haps"), data.read("alone.haps"));
    EXPECT_NE(data.read("run.log").find("WARNING: out.haps was removed while this run was working\n"),
              std::string::npos);
}

TEST(faults, runs_may_share_an_output_that_is_no_file) {
    const e2e::study data(8, 0.3);
    const std::string map = data.read("study.map");
    data.write("other.map", map);
    replace_by_pipe(data, "study.map");
    background_run first(data.folder(), SHORT + "-O /dev/null /dev/null -L run.log");
    {
        std::ofstream pipe(data.at("study.map"));
        EXPECT_EQ(run(data.folder(),
                      "-B study -M other.map --burn 0 --prune 1 --main 1 --states 8 "
                      "-O /dev/null /dev/null -L other.log")
                      .status,
                  0);
        pipe << map;
    }
    EXPECT_EQ(first.wait(), 0);
}

TEST(faults, a_console_that_takes_nothing_does_not_stop_a_run) {
    const e2e::study data(8, 0.3);
    const auto good = run(data.folder(), SHORT + "-O out -L run.log");
    ASSERT_EQ(good.status, 0);
    const std::string haplotypes = data.read("out.haps");
    const auto to_full_device = [] {
        const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
        ::dup2(full, STDOUT_FILENO);
    };
    const auto closed = [] { ::close(STDOUT_FILENO); };
    const auto to_unread_pipe = [] {
        int pipe[2];
        if (::pipe(pipe) == 0) ::dup2(pipe[1], STDOUT_FILENO);
        ::close(pipe[0]);
        ::close(pipe[1]);
    };
    const auto all_closed = [] {
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::close(descriptor);
    };
    for (const std::function<void()>& prepare :
         std::vector<std::function<void()>>{to_full_device, closed, to_unread_pipe, all_closed}) {
        data.write("out.haps", "");
        EXPECT_EQ(run(data.folder(), SHORT + "-O out -L run.log", prepare).status, 0);
        EXPECT_EQ(data.read("out.haps"), haplotypes);
        EXPECT_TRUE(log_says_complete(data.read("run.log")));
    }
}

TEST(faults, what_goes_to_a_closed_console_goes_into_no_file) {
    const e2e::study data(8, 0.3);
    const auto end = run(data.folder(), "-B study -M study.map --states 3 -O out -L run.log", [] {
        for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) ::close(descriptor);
    });
    EXPECT_EQ(end.signal, SIGABRT);  // too few states
    EXPECT_EQ(data.read("run.log").find("Assertion"), std::string::npos);
    EXPECT_EQ(data.read("out.haps"), "");
}

TEST(faults, the_locale_changes_nothing) {
    const e2e::study data(8, 0.3);
    const std::string line =
        "-G study -M study.map --seed 1 --burn 0 --prune 1 --main 1 --states 8 --window 0.15 "
        "--input-thr 0.75 -O out -L run.log";
    ASSERT_EQ(run(data.folder(), line).status, 0);
    const std::string haplotypes = data.read("out.haps");
    const auto numbers = [](const std::string& log) { return log.substr(log.find("Parameters")); };
    const std::string log = data.read("run.log");
    // The first locale is created here, if the system can. The program has to ignore an unknown one.
    const std::string make = "localedef -i de_DE -f UTF-8 '" + data.at("de_DE.UTF-8") + "' > /dev/null 2>&1";
    const bool is_made = std::system(make.c_str()) == 0;
    for (const char* locale : {"de_DE.UTF-8", "no_SUCH.locale"}) {
        const auto set_locale = [&] {
            ::setenv("LOCPATH", data.folder().path().c_str(), 1);
            ::setenv("LC_ALL", locale, 1);
        };
        if (is_made && locale == std::string("de_DE.UTF-8")) {
            const auto point = support::run_in_child([&] {
                set_locale();
                std::setlocale(LC_ALL, "");
                std::cout << std::localeconv()->decimal_point;
            });
            EXPECT_EQ(point.out, ",");
        }
        EXPECT_EQ(run(data.folder(), line, set_locale).status, 0);
        EXPECT_EQ(data.read("out.haps"), haplotypes) << locale;
        const std::string running_time = "\nRunning time";
        const std::string other = data.read("run.log");
        EXPECT_EQ(numbers(other).substr(0, numbers(other).find(running_time)),
                  numbers(log).substr(0, numbers(log).find(running_time)))
            << locale;
    }
}

TEST(faults, names_may_hold_blanks_and_any_letters) {
    const e2e::study data(8, 0.3);
    const std::string folder = "Mein Ordner \xC3\xBC\xC3\xA9\xE6\xBC\xA2";
    std::filesystem::create_directory(data.at(folder));
    for (const std::string ending : {".bed", ".bim", ".fam", ".map"})
        data.write(folder + "/my study" + ending, data.read("study" + ending));
    const auto end = run(data.folder(),
                         e2e::arguments{"-B", folder + "/my study", "-M", folder + "/my study.map", "--seed",
                                        "1", "--burn", "0", "--prune", "1", "--main", "1", "--states", "8",
                                        "-O", folder + "/my output", "-L", folder + "/my run.log"});
    ASSERT_EQ(end.status, 0) << end.out << end.err;
    e2e::expect_law_of_phasing(data.at("study"), data.at(folder + "/my output.haps"),
                               data.at(folder + "/my output.sample"));
    for (const std::string name : {"/my run.log", "/my run.ind.mm", "/my run.snp.mm"})
        EXPECT_TRUE(std::filesystem::exists(data.at(folder + name))) << name;
}

}  // namespace
