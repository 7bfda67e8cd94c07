#include "utils/assertion.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "support/child_process.h"

namespace {

constexpr int PROMISE_LINE = __LINE__ + 2;
void promise(bool kept) {
    TOLVANE_ASSERT(kept, "kept at last");
}

TEST(Assertion, DoesNothingIfTheConditionHolds) {
    int evaluated = 0;
    TOLVANE_ASSERT(++evaluated == 1, "evaluated once");
    EXPECT_EQ(evaluated, 1);
}

TEST(Assertion, FailurePrintsPlaceAndTextAndAborts) {
    const support::child_end end = support::run_in_child([] { promise(false); });
    EXPECT_EQ(end.signal, SIGABRT);
    EXPECT_EQ(end.out, "");
    EXPECT_EQ(end.err, "tests/utils/test_assertion.cpp:" + std::to_string(PROMISE_LINE) +
                           ": promise: Assertion `kept at last' failed.\n");
}

}  // namespace
