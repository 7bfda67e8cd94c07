#include "spare/list_texts.h"

#include <gtest/gtest.h>

namespace {

TEST(Int2str, ListsAreSeparatedByBlanks) {
    EXPECT_EQ(spare::int2str({}), "");
    EXPECT_EQ(spare::int2str({5}), "5");
    EXPECT_EQ(spare::int2str({1, -2, 30}), "1 -2 30");
}

TEST(Bool2str, OneCharacterPerEntry) {
    EXPECT_EQ(spare::bool2str({}), "");
    EXPECT_EQ(spare::bool2str({true, false, false, true}), "1001");
}

TEST(Double2str, ListsAreSeparatedByBlanks) {
    EXPECT_EQ(spare::double2str({1.0, 2.5}, 1), "1.0 2.5");
    EXPECT_EQ(spare::double2str({}), "");
    EXPECT_EQ(spare::double2str({0.5}), "0.500000");
}

}  // namespace
