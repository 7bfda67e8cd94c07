#include "utils/autils.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "support/plain_generator.h"

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

using runs_list = std::vector<autils::item_run>;

/// First and last item of each run, as in "0-4 3-9".
std::string runs_text(const runs_list& runs) {
    std::string text;
    for (const autils::item_run& run : runs)
        text += (text.empty() ? "" : " ") + std::to_string(run.first) + "-" + std::to_string(run.last);
    return text;
}

TEST(Decompose, ListsTooShortToSplitStayWhole) {
    struct row {
        int min_size, n_items;
    };
    for (const row& r : {row{2, 3}, row{2, 2}, row{1, 2}, row{2, 1}, row{5, 9}}) {
        random_source random(7);
        runs_list runs;
        autils::decompose(r.min_size, {0, r.n_items - 1}, runs, random);
        EXPECT_EQ(runs_text(runs), "0-" + std::to_string(r.n_items - 1));
        EXPECT_EQ(random.draw(), support::plain_generator(7).draw()) << "takes no draw";
    }
}

TEST(Decompose, RunsAreAppended) {
    runs_list runs = {{97, 99}};
    random_source random(1);
    autils::decompose(2, {0, 3}, runs, random);
    EXPECT_EQ(runs_text(runs), "97-99 0-2 1-3");  // 4 items can be split in only one place, whatever is drawn
}

/// Reference implementation: splits the numbers from `first` to `last`.
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
        support::plain_generator plain(seed);
        std::string expected;
        split_plainly(min_size, 0, n - 1, plain, expected);
        random_source random(seed);
        runs_list runs;
        autils::decompose(min_size, {0, n - 1}, runs, random);
        ASSERT_EQ(runs_text(runs), expected) << "seed " << seed;
    }
}

TEST(Decompose, RunsCoverTheListAndNeighboursShareTwoItems) {
    for (int seed = 1; seed <= 100; ++seed) {
        const int n = 3 + seed, min_size = 2 + seed % 4;
        random_source random(seed);
        runs_list runs;
        autils::decompose(min_size, {0, n - 1}, runs, random);
        EXPECT_EQ(runs.front().first, 0);
        EXPECT_EQ(runs.back().last, n - 1);
        for (std::size_t w = 0; w + 1 < runs.size(); ++w)
            EXPECT_EQ(runs[w].last, runs[w + 1].first + 1) << "seed " << seed;
        for (const autils::item_run& run : runs)
            EXPECT_TRUE(runs.size() == 1 || run.last - run.first + 1 > min_size);
    }
}

}  // namespace
