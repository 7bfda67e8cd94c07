#include "utils/my_exception.h"

#include <gtest/gtest.h>

namespace {

TEST(MyException, ReturnsItsText) {
    const myException failure("no weight left");
    EXPECT_EQ(failure.msg, "no weight left");
    EXPECT_STREQ(failure.what(), "no weight left");
}

TEST(MyException, IsAStandardException) {
    try {
        throw myException("no weight left");
    } catch (const std::exception& failure) {
        EXPECT_STREQ(failure.what(), "no weight left");
    }
}

}  // namespace
