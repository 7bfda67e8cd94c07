#include "spare/arrays.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

TEST(Argmax, IndexOfTheFirstLargest) {
    struct row {
        const char* name;
        std::vector<int> values;
        int expected;
    };
    for (const row& r : {row{"empty", {}, 0}, row{"one entry", {-5}, 0}, row{"middle", {1, 9, 3}, 1},
                         row{"first of equals", {4, 1, 4}, 0},
                         row{"all below the start of the search", {-2000000000, -1500000000}, 0},
                         row{"exactly the start of the search", {-2000000000, -1000000000}, 0},
                         row{"just above the start", {-2000000000, -999999999}, 1}})
        EXPECT_EQ(spare::argmax(r.values), r.expected) << r.name;
}

TEST(Argmin, IndexOfTheFirstSmallest) {
    struct row {
        const char* name;
        std::vector<int> values;
        int expected;
    };
    for (const row& r : {row{"empty", {}, 0}, row{"one entry", {8}, 0}, row{"last", {3, 2, 1}, 2},
                         row{"first of equals", {5, 2, 2, 9}, 1}, row{"negative", {0, -1, 1}, 1}}) {
        EXPECT_EQ(spare::argmin(r.values), r.expected) << r.name;
        EXPECT_EQ(spare::argmin(std::vector<float>(r.values.begin(), r.values.end())), r.expected) << r.name;
    }
}

TEST(Argmin2, IndicesOfTheTwoSmallest) {
    struct row {
        const char* name;
        std::vector<float> values;
        std::pair<int, int> expected;
    };
    for (const row& r :
         {row{"two in order", {1, 2}, {0, 1}}, row{"two in reverse", {2, 1}, {1, 0}},
          row{"two equals keep their order", {1, 1}, {0, 1}},
          row{"new smallest pushes the old one down", {3, 4, 1}, {2, 0}},
          row{"new second", {1, 4, 2}, {0, 2}}, row{"equal to the smallest is second", {1, 4, 1}, {0, 2}},
          row{"equal to the second stays out", {1, 2, 2}, {0, 1}}, row{"all equal", {5, 5, 5, 5}, {0, 1}},
          row{"falling", {5, 4, 3, 2, 1}, {4, 3}}})
        EXPECT_EQ(spare::argmin2(r.values), r.expected) << r.name;
}

}  // namespace
