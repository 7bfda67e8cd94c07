#include "readers/filter_reader.h"

#include <gtest/gtest.h>

#include <set>

#include "support/child_process.h"
#include "support/log_capture.h"
#include "utils/futils.h"

namespace {

using support::log_capture;

template <class Key>
std::set<Key> keys(const std::map<Key, bool>& list) {
    std::set<Key> result;
    for (const auto& entry : list) result.insert(entry.first);
    return result;
}

TEST(CheckInd, ExclusionWins) {
    filter_reader filter;
    EXPECT_TRUE(filter.checkInd("Ann")) << "empty lists accept all";
    filter.ind_exclude["Bob"] = false;
    EXPECT_TRUE(filter.checkInd("Ann"));
    EXPECT_FALSE(filter.checkInd("Bob"));
    filter.ind_include["Ann"] = false;
    filter.ind_include["Bob"] = false;
    EXPECT_TRUE(filter.checkInd("Ann"));
    EXPECT_FALSE(filter.checkInd("Bob")) << "in both lists";
    EXPECT_FALSE(filter.checkInd("Cem")) << "in neither";
    EXPECT_FALSE(filter.checkInd("ann"));
}

TEST(CheckInd, MarksTheEntriesThatMatch) {
    filter_reader filter;
    filter.initialise(0, 1000);
    filter.ind_exclude = {{"Ann", false}, {"Bob", false}};
    filter.ind_include = {{"Ann", false}, {"Cem", false}};
    filter.snp_exclude = {{100, false}, {200, false}};
    for (const char* id : {"Ann", "Dan"}) filter.checkInd(id);
    for (const int pos : {200, 5000}) filter.checkSnp(pos);
    EXPECT_EQ(filter.ind_exclude, (std::map<std::string, bool>{{"Ann", true}, {"Bob", false}}));
    EXPECT_EQ(filter.ind_include, (std::map<std::string, bool>{{"Ann", true}, {"Cem", false}}));
    EXPECT_EQ(filter.snp_exclude, (std::map<int, bool>{{100, false}, {200, true}}));
}

TEST(CheckSnp, HalfOpenInterval) {
    struct row {
        int from, to, pos;
        bool kept;
    };
    for (const row& r : {row{0, 1000, 999, true}, row{0, 1000, 1000, false}, row{1000, 2000, 1000, true},
                         row{1000, 2000, 999, false}, row{0, 1000, 0, true}, row{5, 6, 5, true}}) {
        filter_reader filter;
        filter.initialise(r.from, r.to);
        EXPECT_EQ(filter.checkSnp(r.pos), r.kept) << r.pos << " in [" << r.from << ", " << r.to << ")";
    }
}

TEST(CheckSnp, ListsAndInterval) {
    filter_reader filter;
    filter.initialise(100, 1000);
    filter.snp_exclude[200] = true;
    EXPECT_FALSE(filter.checkSnp(200));
    EXPECT_TRUE(filter.checkSnp(300));
    for (const int pos : {200, 300, 2000, 50}) filter.snp_include[pos] = true;
    EXPECT_FALSE(filter.checkSnp(200)) << "in both lists";
    EXPECT_TRUE(filter.checkSnp(300));
    EXPECT_FALSE(filter.checkSnp(400)) << "in neither";
    EXPECT_FALSE(filter.checkSnp(2000)) << "beyond the interval";
    EXPECT_FALSE(filter.checkSnp(50)) << "before the interval";
}

struct list_case {
    const char* name;
    void (filter_reader::*read)(const std::string&);
    const char* heading;
    const char* closing;
};

class individual_list : public ::testing::TestWithParam<list_case> {
  protected:
    std::set<std::string> entered() const {
        std::set<std::string> all = keys(filter.ind_exclude);
        all.merge(keys(filter.ind_include));
        return all;
    }
    filter_reader filter;
    log_capture capture;
};

TEST_P(individual_list, UsesWholeLines) {
    const std::string name = capture.folder().put("list", "Ann\nBob \n Cem\nDi Eve\n\nAnn\nFay\r\nGil");
    (filter.*GetParam().read)(name);
    EXPECT_EQ(entered(), (std::set<std::string>{"Ann", "Bob ", " Cem", "Di Eve", "", "Fay\r", "Gil"}));
    const std::string expected =
        std::string(GetParam().heading) + name + "]\n  * 8" + GetParam().closing + "\n";
    EXPECT_EQ(capture.log(), expected);
    EXPECT_EQ(capture.console(), expected);
}

TEST_P(individual_list, AddsToTheList) {
    (filter.*GetParam().read)(capture.folder().put("first", "Ann\n"));
    (filter.*GetParam().read)(capture.folder().put("second", "Bob\n"));
    EXPECT_EQ(entered(), (std::set<std::string>{"Ann", "Bob"}));
}

TEST_P(individual_list, EmptyFilePrintsNoCount) {
    const std::string name = capture.folder().put("list", "");
    (filter.*GetParam().read)(name);
    EXPECT_TRUE(entered().empty());
    EXPECT_EQ(capture.log(), std::string(GetParam().heading) + name + "]\n");
    EXPECT_TRUE(filter.checkInd("Ann"));
}

INSTANTIATE_TEST_SUITE_P(FilterReader, individual_list,
                         ::testing::Values(list_case{"exclude", &filter_reader::readIndExcludeList,
                                                     "\nReading individuals to exclude from input file in [",
                                                     " individuals found in the exclude list"},
                                           list_case{"include", &filter_reader::readIndIncludeList,
                                                     "\nReading individuals to include from input file in [",
                                                     " individuals found in the include list"}),
                         [](const auto& list) { return list.param.name; });

class variant_list : public ::testing::TestWithParam<list_case> {
  protected:
    std::set<int> entered() const {
        std::set<int> all = keys(filter.snp_exclude);
        all.merge(keys(filter.snp_include));
        return all;
    }
    filter_reader filter;
    log_capture capture;
};

TEST_P(variant_list, UsesTheNumberAtTheStartOfALine) {
    const std::string name = capture.folder().put("list", "100\n 200 rs7\n300x\nrs9\n\n-5\r\n400");
    (filter.*GetParam().read)(name);
    EXPECT_EQ(entered(), (std::set<int>{100, 200, 300, 0, -5, 400})) << "text without a number is read as 0";
    EXPECT_EQ(capture.log(), std::string(GetParam().heading) + name + "]\n  * 7" + GetParam().closing + "\n");
}

TEST_P(variant_list, CountsLinesAndStoresPositions) {
    const std::string name = capture.folder().put("list", "100\n100\n100\n");
    (filter.*GetParam().read)(name);
    EXPECT_EQ(entered(), std::set<int>{100});
    EXPECT_EQ(capture.log(), std::string(GetParam().heading) + name + "]\n  * 3" + GetParam().closing + "\n");
}

TEST_P(variant_list, EmptyFilePrintsNoCount) {
    const std::string name = capture.folder().put("list", "");
    (filter.*GetParam().read)(name);
    EXPECT_TRUE(entered().empty());
    EXPECT_EQ(capture.log(), std::string(GetParam().heading) + name + "]\n");
}

TEST_P(variant_list, PositionsBeyondAnIntStopTheRun) {
    const std::string name = capture.folder().put("list", "100\n4294967396\n");
    EXPECT_TRUE(support::stops_with(
        name + " line 2: [4294967396] is out of range for a position (at most 2147483647)",
        [&] { (filter.*GetParam().read)(name); }));
}

INSTANTIATE_TEST_SUITE_P(FilterReader, variant_list,
                         ::testing::Values(list_case{"exclude", &filter_reader::readSnpExcludeList,
                                                     "\nReading SNPs to exclude from input file in [",
                                                     " snps found in the exclude list"},
                                           list_case{"include", &filter_reader::readSnpIncludeList,
                                                     "\nReading SNPs to include from input file in [",
                                                     " snps found in the include list"}),
                         [](const auto& list) { return list.param.name; });

}  // namespace
