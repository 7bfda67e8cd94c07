#include "modules/stage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <set>
#include <vector>

#include "support/log_capture.h"

namespace {

using support::log_capture;

/// A stage that notes which items it has treated, and how many of its lines the console showed before each.
class noting_stage : public stage {
  public:
    explicit noting_stage(int n_thread, bool with_lines = true) : stage(n_thread, "Noting", with_lines) {}

    void run(int n, const log_capture* capture = nullptr) {
        run_pass(
            "Noting items", n,
            [this, capture](int i) {
                const std::lock_guard guard(lock);
                treated.insert(i);
                if (capture != nullptr) console_before.push_back(capture->console());
            },
            [](void* self) -> void* {
                static_cast<noting_stage*>(self)->take_items();
                return nullptr;
            },
            this);
    }

    std::mutex lock;
    std::multiset<int> treated;
    std::vector<std::string> console_before;
};

std::multiset<int> numbers(int n) {
    std::multiset<int> all;
    for (int i = 0; i < n; ++i) all.insert(i);
    return all;
}

std::string line(int done, int total) {
    return "\rNoting [" + std::to_string(done) + "/" + std::to_string(total) + "]";
}

TEST(Stage, WithoutThreadsShowsWhatIsDone) {
    for (const int n : {0, 1, 3}) {
        const log_capture capture;
        noting_stage s(1);
        s.run(n);
        EXPECT_EQ(s.treated, numbers(n));
        std::string console = "\n";
        for (int done = 1; done <= n; ++done) console += line(done, n);
        console += line(n, n) + "\n";
        EXPECT_EQ(capture.console(), console);
        EXPECT_EQ(capture.log(), "\nNoting items\n\n") << "no progress in the log";
    }
}

TEST(Stage, WithoutThreadsWorksBeforeTheLine) {
    const log_capture capture;
    noting_stage s(1);
    s.run(3, &capture);
    EXPECT_EQ(s.console_before,
              (std::vector<std::string>{"\n", "\n" + line(1, 3), "\n" + line(1, 3) + line(2, 3)}));
}

TEST(Stage, WithThreadsShowsWhatIsStarted) {
    for (const int n_threads : {2, 7})
        for (const int n : {0, 1, 5, 50}) {
            const log_capture capture;
            noting_stage s(n_threads);
            s.run(n);
            EXPECT_EQ(s.treated, numbers(n)) << n_threads << " threads";
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
            EXPECT_EQ(rest.size(), length) << "each line once and whole, in any order";
        }
}

TEST(Stage, SilentOneWritesNothing) {
    for (const int n_threads : {1, 2, 7}) {
        const log_capture capture;
        noting_stage s(n_threads, false);
        s.run(5);
        EXPECT_EQ(s.treated, numbers(5));
        EXPECT_EQ(capture.console(), "");
        EXPECT_EQ(capture.log(), "");
    }
}

TEST(Stage, SecondPassStartsAnew) {
    for (const int n_threads : {1, 2}) {
        const log_capture capture;
        noting_stage s(n_threads);
        s.run(5);
        s.treated.clear();
        s.run(3);
        EXPECT_EQ(s.treated, numbers(3));
    }
}

}  // namespace
