#include "utils/lfile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <thread>
#include <vector>

#include "support/child_process.h"
#include "support/files.h"
#include "support/log_capture.h"

namespace {

using support::child_end;
using support::log_capture;
using support::read_file;
using support::run_in_child;
using support::temporary_folder;

TEST(LogName, EndsInLog) {
    struct row {
        const char* given;
        const char* expected;
    };
    for (const row& r :
         {row{"run.txt", "run.txt.log"}, row{"run.log", "run.log"}, row{"run", "run.log"},
          row{"run.LOG", "run.LOG.log"}, row{"run.log.gz", "run.log.gz.log"},
          row{"dir.log/run", "dir.log/run.log"}, row{"run.", "run..log"}, row{".log", ".log"}}) {
        EXPECT_EQ(lfile::nameFor(r.given), r.expected);
        const temporary_folder folder;
        lfile log;
        log.open(folder.at(r.given));
        EXPECT_EQ(log.name(), folder.at(r.expected));
    }
}

TEST(LogPrefix, IsTheTextBeforeTheLastDot) {
    struct row {
        const char* given;
        const char* expected;
    };
    for (const row& r : {row{"run.log", "run"}, row{"a.b.log", "a.b"}, row{"run", "run"}, row{"", ""},
                         row{".log", ""}, row{"run.", "run"}, row{"dir.d/run", "dir"}})
        EXPECT_EQ(lfile::getPrefix(r.given), r.expected) << r.given;
}

TEST(LogOpen, EmptiesTheFileAndReportsSuccess) {
    const temporary_folder folder;
    const std::string name = folder.put("run.log", "old text\n");
    lfile log;
    EXPECT_TRUE(log.open(name));
    EXPECT_EQ(read_file(name), "");
    EXPECT_FALSE(log.open(folder.at("missing/run.log")));
    EXPECT_FALSE(log.open(folder.path() + "/."));
}

TEST(LogOpen, RunTxtBecomesRunTxtLog) {
    const temporary_folder folder;
    lfile log;
    ASSERT_TRUE(log.open(folder.at("run.txt")));
    log.printL("a line\n");
    EXPECT_EQ(read_file(folder.at("run.txt.log")), "a line\n");
    EXPECT_FALSE(std::ifstream(folder.at("run.txt")).good());
}

/// The output of each call on the two channels, with both open and with each muted.
TEST(LogChannels, EachCallWritesToItsChannels) {
    struct row {
        const char* name;
        void (*call)();
        const char* console;
        const char* log;
    };
    const std::vector<row> rows = {
        {"print", [] { LOG.print("text"); }, "text", "text"},
        {"println", [] { LOG.println("text"); }, "text\n", "text\n"},
        {"println of nothing", [] { LOG.println(""); }, "\n", "\n"},
        {"printC", [] { LOG.printC("text"); }, "text", ""},
        {"printlnC", [] { LOG.printlnC("text"); }, "text\n", ""},
        {"printL", [] { LOG.printL("text"); }, "", "text"},
        {"printlnL", [] { LOG.printlnL("text"); }, "", "text\n"},
    };
    for (const row& r : rows) {
        {
            const log_capture capture;
            r.call();
            EXPECT_EQ(capture.console(), r.console) << r.name;
            EXPECT_EQ(capture.log(), r.log) << r.name << ": flushed at once";
        }
        {
            const log_capture capture;
            LOG.muteC();
            r.call();
            EXPECT_EQ(capture.console(), "") << r.name;
            EXPECT_EQ(capture.log(), r.log) << r.name;
            LOG.unmuteC();
            r.call();
            EXPECT_EQ(capture.console(), r.console) << r.name;
        }
        {
            const log_capture capture;
            LOG.muteL();
            r.call();
            EXPECT_EQ(capture.console(), r.console) << r.name;
            EXPECT_EQ(capture.log(), "") << r.name;
            LOG.unmuteL();
            r.call();
            EXPECT_EQ(capture.log(), r.log) << r.name;
        }
    }
}

TEST(LogChannels, WithoutAFileWritesOnlyToTheConsole) {
    std::string console;
    {
        const log_capture capture;
        LOG.close();
        LOG.println("closed");
        LOG.warning("still closed");
        console = capture.console();
        EXPECT_EQ(capture.log(), "");
    }
    EXPECT_EQ(console, "closed\n\033[33mWARNING:\033[0m still closed\n");
}

TEST(LogWarning, ColouredOnTheConsoleAndPlainInTheLog) {
    const log_capture capture;
    LOG.warning("few states");
    EXPECT_EQ(capture.console(), "\033[33mWARNING:\033[0m few states\n");
    EXPECT_EQ(capture.log(), "WARNING: few states\n");
}

TEST(LogWarning, MutingTheConsoleDoesNotSilenceIt) {
    const log_capture capture;
    LOG.muteC();
    LOG.println("quiet");
    LOG.warning("loud");
    EXPECT_EQ(capture.console(), "\033[33mWARNING:\033[0m loud\n");
    EXPECT_EQ(capture.log(), "quiet\nWARNING: loud\n");
    LOG.muteL();
    LOG.warning("loud again");
    EXPECT_EQ(capture.log(), "quiet\nWARNING: loud\n");
}

TEST(LogError, WritesToBothChannelsAndEndsWithStatusOne) {
    for (const bool mute_console : {false, true}) {
        const temporary_folder folder;
        const child_end end = run_in_child([&] {
            LOG.open(folder.at("run.log"));
            LOG.println("so far");
            if (mute_console) LOG.muteC();
            LOG.error("no further");
        });
        EXPECT_EQ(end.status, 1);
        EXPECT_EQ(end.out, "so far\n\033[33mERROR:\033[0m no further\n");
        EXPECT_EQ(end.err, "");
        EXPECT_EQ(read_file(folder.at("run.log")), "so far\nERROR: no further\n");
    }
}

TEST(LogError, MutedLogStaysSilent) {
    const temporary_folder folder;
    const child_end end = run_in_child([&] {
        LOG.open(folder.at("run.log"));
        LOG.muteL();
        LOG.error("no further");
    });
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.out, "\033[33mERROR:\033[0m no further\n");
    EXPECT_EQ(read_file(folder.at("run.log")), "");
}

TEST(LogError, NeedsNoLogFile) {
    EXPECT_TRUE(support::stops_with("no further", [] { LOG.error("no further"); }));
}

TEST(LogError, RunsNoDestructor) {
    struct mourner {
        ~mourner() { std::cout << "destroyed\n"; }
    };
    const child_end end = run_in_child([] {
        std::atexit([] { std::cout << "at exit\n"; });
        const mourner on_the_stack;
        LOG.error("no further");
    });
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.out, "\033[33mERROR:\033[0m no further\n");
}

TEST(LogError, EndsTheProcessFromAWorker) {
    EXPECT_TRUE(support::stops_with("worker failed", [] {
        std::thread worker([] { LOG.error("worker failed"); });
        worker.join();
    }));
}

TEST(LogError, OnlyOneOfSeveralFailingThreadsReports) {
    const child_end end = run_in_child([] {
        std::vector<std::thread> workers;
        for (int i = 0; i < 8; ++i) workers.emplace_back([] { LOG.error("worker failed"); });
        for (std::thread& worker : workers) worker.join();
    });
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.out, "\033[33mERROR:\033[0m worker failed\n");
}

TEST(LogError, OutOfMemoryHasItsOwnMessage) {
    const log_capture capture;
    EXPECT_TRUE(support::stops_with("Not enough memory", [] { LOG.outOfMemory(); }));
    EXPECT_EQ(capture.log(), "ERROR: Not enough memory\n");
}

TEST(LogRefuse, DoesNothingEndsOrLists) {
    const log_capture capture;
    const auto refuse = [] { LOG.refuse("a-rule", "a.map", 3, "[x]", "a number"); };
    refuse();
    EXPECT_EQ(capture.log(), "");
    EXPECT_EQ(LOG.nRefused(), 0);
    LOG.setStrictness(strictness::strict);
    EXPECT_TRUE(support::stops_with("a.map line 3: found [x], expected a number [a-rule]", refuse));
    EXPECT_TRUE(support::stops_with("a.map: found x, expected y [a-rule]",
                                    [] { LOG.refuse("a-rule", "a.map", 0, "x", "y"); }));
    const child_end end = run_in_child([&] {
        LOG.setStrictness(strictness::listing);
        for (int i = 0; i < 150; ++i) refuse();
        std::cout << LOG.nRefused();
    });
    LOG.setStrictness(strictness::lenient);
    EXPECT_TRUE(end.returned);
    EXPECT_TRUE(end.out.starts_with("  ! a.map line 3: found [x], expected a number [a-rule]\n"));
    EXPECT_TRUE(end.out.ends_with("  ! further ones are counted, but not listed\n150"));
    EXPECT_EQ(std::count(end.out.begin(), end.out.end(), '!'), 101);
}

TEST(LogWrite, FullDiskStopsTheRun) {
    const temporary_folder folder;
    const std::string name = folder.at("run.log");
    ASSERT_EQ(::symlink("/dev/full", name.c_str()), 0);
    EXPECT_TRUE(support::stops_with(name + " could not be written: No space left on device", [&] {
        LOG.open(name);
        LOG.println("too much");
    }));
}

TEST(LogClose, MayBeCalledTwice) {
    const log_capture capture;
    LOG.println("a line");
    LOG.close();
    LOG.close();
    EXPECT_EQ(capture.log(), "a line\n");
}

}  // namespace
