#include "utils/fixed_list.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/child_process.h"

namespace {

using list = fixed_list<int, 3>;

std::vector<int> items(const list& l) {
    return {l.begin(), l.end()};
}

TEST(FixedList, KeepsAppendedItems) {
    list l;
    EXPECT_EQ(l.size(), 0U);
    EXPECT_EQ(items(l), std::vector<int>{});
    for (const int item : {7, 5, 6}) l.push_back(item);
    EXPECT_EQ(l.size(), 3U);
    EXPECT_EQ(l[1], 5);
    EXPECT_EQ(items(l), (std::vector<int>{7, 5, 6}));
}

TEST(FixedList, CopiesAreIndependent) {
    list l{1, 2};
    const list copy = l;
    l.push_back(3);
    EXPECT_EQ(items(copy), (std::vector<int>{1, 2}));
    EXPECT_EQ(items(l), (std::vector<int>{1, 2, 3}));
}

TEST(FixedList, OverflowAborts) {
    list l{1, 2, 3};
    EXPECT_TRUE(support::aborts_on("n < N", [&] { l.push_back(4); }));
}

}  // namespace
