#include "utils/output_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "support/child_process.h"
#include "support/files.h"
#include "support/log_capture.h"
#include "utils/futils.h"

namespace {

using support::log_capture;
using support::read_file;
using support::stops_with;

/// Whether another process could lock the file.
bool is_free(const std::string& name) {
    const int other = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
    const bool locked = ::flock(other, LOCK_EX | LOCK_NB) == 0;
    ::close(other);
    return locked;
}

std::string busy(const std::string& name) {
    return name + " is being written by another run; give another name to the output or the log";
}

TEST(OutputFiles, AreTakenUntilTheEndAndKeepTheirContent) {
    const log_capture capture;
    const std::string old = capture.folder().put("old", "text"), made = capture.folder().at("new");
    {
        output_files outputs, others;
        outputs.take(old);
        outputs.prepare(made);
        EXPECT_EQ(read_file(made), "");
        for (const std::string& name : {old, made}) {
            EXPECT_FALSE(is_free(name));
            EXPECT_TRUE(stops_with(busy(name), [&] { others.take(name); }));
            EXPECT_TRUE(stops_with(busy(name), [&] { others.prepare(name); }));
        }
    }
    EXPECT_TRUE(is_free(old));
    EXPECT_TRUE(is_free(made));
    EXPECT_EQ(read_file(old), "text");
}

TEST(OutputFiles, OnlyPrepareNeedsToWrite) {
    const log_capture capture;
    output_files outputs;
    for (const std::string& name : {capture.folder().at("missing/new"), capture.folder().path()}) {
        outputs.take(name);
        EXPECT_TRUE(stops_with(futils::cannotCreate(name), [&] { outputs.prepare(name); }));
    }
    EXPECT_EQ(outputs.replaced(), "");
}

TEST(OutputFiles, TheSameDeviceMayBeTakenTwice) {
    output_files outputs, others;
    for (output_files* some : {&outputs, &others})
        for (int i = 0; i < 2; ++i) some->prepare("/dev/null");
    ofile first, second;
    outputs.open("/dev/null", first);
    outputs.open("/dev/null", second);
    first.writeText("text");
    second.writeText("text");
    first.close();
    second.close();
    EXPECT_EQ(outputs.replaced(), "");
}

TEST(OutputFiles, AReaderOfAPipeGetsTheWholeText) {
    const log_capture capture;
    const std::string pipe = capture.folder().at("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::string text;
    std::thread reader([&] { text = read_file(pipe); });
    output_files outputs;
    outputs.prepare(pipe);
    ofile stream;
    outputs.open(pipe, stream);
    stream.writeText("all of it\n");
    stream.close();
    reader.join();
    EXPECT_EQ(text, "all of it\n");
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST(OutputFiles, APipeEndsIfTheRunDoes) {
    const log_capture capture;
    const std::string pipe = capture.folder().at("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::string text = "unread";
    std::thread reader([&] { text = read_file(pipe); });
    { output_files().prepare(pipe); }
    reader.join();
    EXPECT_EQ(text, "");
}

TEST(OutputFiles, ReplacedFilesAreNoticed) {
    const log_capture capture;
    const std::string a = capture.folder().at("a"), b = capture.folder().at("b");
    output_files outputs;
    outputs.take(a);
    outputs.prepare(b);
    EXPECT_EQ(outputs.replaced(), "");
    outputs.check();
    std::filesystem::remove(b);
    const std::string other = capture.folder().put("b", "of another run");
    EXPECT_EQ(outputs.replaced(), other);
}

TEST(OutputFiles, CheckEndsTheRunAtAReplacedFile) {
    const log_capture capture;
    const std::string a = capture.folder().at("a");
    output_files outputs;
    outputs.take(a);
    std::filesystem::rename(capture.folder().put("other", "text"), a);
    EXPECT_TRUE(stops_with(a + " was replaced while this run was working", [&] { outputs.check(); }));
}

TEST(OutputFiles, RemovedFilesAreTakenAgain) {
    const log_capture capture;
    const std::string a = capture.folder().at("a"), b = capture.folder().at("b");
    output_files outputs;
    outputs.prepare(a);
    outputs.prepare(b);
    std::filesystem::remove(a);
    EXPECT_EQ(outputs.replaced(), "");
    EXPECT_EQ(capture.log(), "WARNING: " + a + " was removed while this run was working\n");
    EXPECT_FALSE(is_free(a));
    EXPECT_FALSE(is_free(b));
    EXPECT_EQ(outputs.replaced(), "");
    std::filesystem::remove(b);
    EXPECT_EQ(outputs.replaced(), "");
    EXPECT_FALSE(is_free(b));
}

}  // namespace
