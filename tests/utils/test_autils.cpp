#include "utils/autils.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "support/plain_generator.h"
#include "utils/putils.h"

namespace {

TEST(Max, IndexOfTheFirstLargest) {
    struct row {
        const char* name;
        std::vector<double> values;
        int expected;
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const row& r : {row{"empty", {}, 0}, row{"one entry", {-5.0}, 0}, row{"last", {1.0, 2.0, 3.0}, 2},
                         row{"first of equals", {1.0, 7.0, 7.0, 0.0}, 1},
                         row{"all below the start of the search", {-2e300, -1.5e300}, 0},
                         row{"exactly the start of the search", {-2e300, -1e300}, 0},
                         row{"just above the start", {-2e300, -0.9e300}, 1},
                         row{"no number is never the largest", {nan, 1.0, nan}, 1}})
        EXPECT_EQ(autils::max(r.values), r.expected) << r.name;
}

TEST(Max, IndexOfTheFirstLargestInt) {
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
        EXPECT_EQ(autils::max(r.values), r.expected) << r.name;
}

TEST(Argmin, IndexOfTheFirstSmallest) {
    struct row {
        const char* name;
        std::vector<int> values;
        int expected;
    };
    for (const row& r : {row{"empty", {}, 0}, row{"one entry", {8}, 0}, row{"last", {3, 2, 1}, 2},
                         row{"first of equals", {5, 2, 2, 9}, 1}, row{"negative", {0, -1, 1}, 1}}) {
        EXPECT_EQ(argmin(r.values), r.expected) << r.name;
        EXPECT_EQ(argmin(std::vector<float>(r.values.begin(), r.values.end())), r.expected) << r.name;
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
        EXPECT_EQ(argmin2(r.values), r.expected) << r.name;
}

using items_list = std::vector<std::vector<int>>;
using runs_list = std::vector<items_list>;

items_list numbered(int n) {
    items_list items;
    for (int i = 0; i < n; ++i) items.push_back({i, 10 * i, 10 * i + 9});
    return items;
}

/// First and last item of each run, as in "0-4 3-9".
std::string runs_text(const runs_list& runs) {
    std::string text;
    for (const items_list& run : runs)
        text +=
            (text.empty() ? "" : " ") + std::to_string(run.front()[0]) + "-" + std::to_string(run.back()[0]);
    return text;
}

TEST(Decompose, ListsTooShortToSplitStayWhole) {
    struct row {
        int min_size, n_items;
    };
    for (const row& r : {row{2, 3}, row{2, 2}, row{1, 2}, row{2, 1}, row{5, 9}}) {
        putils::initRandom(7);
        runs_list runs;
        autils::decompose(r.min_size, numbered(r.n_items), runs);
        ASSERT_EQ(runs.size(), 1U) << r.min_size << " of " << r.n_items;
        EXPECT_EQ(runs[0], numbered(r.n_items));
        EXPECT_EQ(putils::getRandom(), support::plain_generator(7).draw()) << "no number was drawn";
    }
}

TEST(Decompose, UnsplitListIsAppendedAndSplitReplaces) {
    const items_list before = {{99, 0, 0}};
    runs_list runs = {before};
    autils::decompose(2, numbered(3), runs);
    EXPECT_EQ(runs, (runs_list{before, numbered(3)}));

    runs = {before};
    putils::initRandom(1);
    autils::decompose(2, numbered(4), runs);
    EXPECT_EQ(runs_text(runs), "0-2 1-3");  // 4 items leave one place to split, whatever is drawn
}

/// The same splitting, on numbers from `first` to `last` in place of items.
void split_plainly(int min_size, int first, int last, support::plain_generator& random, std::string& text) {
    const int n = last - first + 1;
    if (n == 2 || 2 * min_size > n) {
        text += (text.empty() ? "" : " ") + std::to_string(first) + "-" + std::to_string(last);
        return;
    }
    const int cut = min_size + static_cast<int>(random.draw() * (n - 2 * min_size));
    split_plainly(min_size, first, first + cut, random, text);
    split_plainly(min_size, first + cut - 1, last, random, text);
}

TEST(Decompose, DrawsForTheSplitThenTheLeftPartThenTheRight) {
    for (int seed = 1; seed <= 200; ++seed) {
        const int n = 2 + seed % 60, min_size = 2 + seed % 7;
        support::plain_generator random(seed);
        std::string expected;
        split_plainly(min_size, 0, n - 1, random, expected);
        putils::initRandom(seed);
        runs_list runs;
        autils::decompose(min_size, numbered(n), runs);
        ASSERT_EQ(runs_text(runs), expected) << "seed " << seed;
    }
}

TEST(Decompose, RunsCoverTheListAndNeighboursShareTwoItems) {
    for (int seed = 1; seed <= 100; ++seed) {
        const int n = 3 + seed, min_size = 2 + seed % 4;
        putils::initRandom(seed);
        runs_list runs;
        autils::decompose(min_size, numbered(n), runs);
        EXPECT_EQ(runs.front().front()[0], 0);
        EXPECT_EQ(runs.back().back()[0], n - 1);
        for (std::size_t w = 0; w + 1 < runs.size(); ++w)
            EXPECT_EQ(runs[w].back()[0], runs[w + 1].front()[0] + 1) << "seed " << seed;
        for (const items_list& run : runs) {
            EXPECT_TRUE(runs.size() == 1 || static_cast<int>(run.size()) > min_size);
            for (std::size_t i = 0; i + 1 < run.size(); ++i) EXPECT_EQ(run[i + 1][0], run[i][0] + 1);
        }
    }
}

}  // namespace
