#include "utils/genome_region.h"

#include <gtest/gtest.h>

#include "support/child_process.h"

namespace {

TEST(GenomeRegion, IsParsed) {
    const auto END = genome_region::NO_END;
    struct row {
        const char* text;
        genome_region region;
    };
    for (const row& r :
         {row{"20", {"20", 1, END}}, row{"chr20:5-9", {"chr20", 5, 9}},
          row{"X:1,000-2,000,000", {"X", 1000, 2000000}}, row{"20:7-", {"20", 7, END}},
          row{"20:7-7", {"20", 7, 7}}, row{"HLA-A*01:01:01-x", {"HLA-A*01:01:01-x", 1, END}},
          row{"HLA-A*01:01", {"HLA-A*01:01", 1, END}}, row{"HLA-A*01:01:3-4", {"HLA-A*01:01", 3, 4}}})
        EXPECT_EQ(parse_region(r.text), r.region) << r.text;
}

TEST(GenomeRegion, WhatIsNoneStopsTheRun) {
    for (const char* text : {"", "20:9-5", "20:0-5", ":1-2"})
        EXPECT_TRUE(support::stops_with(
            "[" + std::string(text) +
                "] is no region: use CHROMOSOME or CHROMOSOME:FROM-TO, positions from 1 on",
            [&] { parse_region(text); }))
            << text;
}

TEST(GenomeRegion, ContainsBothEnds) {
    const genome_region region = {"20", 5, 9};
    EXPECT_FALSE(region.contains(4));
    EXPECT_TRUE(region.contains(5));
    EXPECT_TRUE(region.contains(9));
    EXPECT_FALSE(region.contains(10));
}

}  // namespace
