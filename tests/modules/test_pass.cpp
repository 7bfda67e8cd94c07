#include "modules/pass.h"

#include <gtest/gtest.h>

#include <atomic>
#include <iostream>
#include <mutex>
#include <set>
#include <streambuf>
#include <string>
#include <thread>
#include <vector>

#include "support/log_capture.h"

namespace {

using support::log_capture;

/// Runs a pass and returns the items processed.
std::multiset<int> treated(int n_threads, int n) {
    worker_team team(n_threads);
    std::mutex lock;
    std::multiset<int> items;
    run_pass(team, {"Noting items", "Noting"}, n, [&](int i) {
        const std::lock_guard guard(lock);
        items.insert(i);
    });
    return items;
}

std::multiset<int> numbers(int n) {
    std::multiset<int> all;
    for (int i = 0; i < n; ++i) all.insert(i);
    return all;
}

std::string line(int done, int total) {
    return "\rNoting [" + std::to_string(done) + "/" + std::to_string(total) + "]";
}

TEST(Pass, OneThreadCountsFinishedItems) {
    for (const int n : {0, 1, 3}) {
        const log_capture capture;
        EXPECT_EQ(treated(1, n), numbers(n));
        std::string console = "\n";
        for (int done = 1; done <= n; ++done) console += line(done, n);
        console += line(n, n) + "\n";
        EXPECT_EQ(capture.console(), console);
        EXPECT_EQ(capture.log(), "\nNoting items\n\n") << "no progress in the log";
    }
}

TEST(Pass, OneThreadWorksBeforeItPrints) {
    const log_capture capture;
    worker_team team(1);
    std::vector<std::string> console_before;
    run_pass(team, {"Noting items", "Noting"}, 3, [&](int) { console_before.push_back(capture.console()); });
    EXPECT_EQ(console_before,
              (std::vector<std::string>{"\n", "\n" + line(1, 3), "\n" + line(1, 3) + line(2, 3)}));
}

TEST(Pass, SeveralThreadsCountStartedItems) {
    for (const int n_threads : {2, 7})
        for (const int n : {0, 1, 5, 50}) {
            const log_capture capture;
            EXPECT_EQ(treated(n_threads, n), numbers(n)) << n_threads << " threads";
            EXPECT_EQ(capture.log(), "\nNoting items\n\n");
            std::string rest = capture.console();
            ASSERT_EQ(rest.substr(0, 1), "\n");
            const std::string last = line(n, n) + "\n";
            ASSERT_EQ(rest.substr(rest.size() - last.size()), last);
            rest = rest.substr(1, rest.size() - 1 - last.size());
            std::size_t length = 0;
            for (int done = 1; done <= n; ++done) {
                EXPECT_NE(rest.find(line(done, n)), std::string::npos) << done;
                length += line(done, n).size();
            }
            EXPECT_EQ(rest.size(), length) << "each line once and complete, in any order";
        }
}

/// A console that gives way to other threads in the middle of each text, and counts texts that come in
/// while another one is being written.
class slow_console : public std::streambuf {
  public:
    int n_collisions() const { return collisions; }

  protected:
    std::streamsize xsputn(const char* /*text*/, std::streamsize n) override {
        collisions += is_writing.exchange(true);
        for (int i = 0; i < 5; ++i) std::this_thread::yield();
        is_writing = false;
        return n;
    }
    int overflow(int c) override { return c; }

  private:
    std::atomic<bool> is_writing = false;
    std::atomic<int> collisions = 0;
};

TEST(Pass, SeveralThreadsPrintOneAfterTheOther) {
    const log_capture capture;
    slow_console console;
    std::streambuf* const before = std::cout.rdbuf(&console);
    EXPECT_EQ(treated(4, 2000), numbers(2000));
    std::cout.rdbuf(before);
    EXPECT_EQ(console.n_collisions(), 0);
}

}  // namespace
