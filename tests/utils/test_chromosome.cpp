#include "utils/chromosome.h"

#include <gtest/gtest.h>

namespace {

TEST(ChromosomeKey, IsTheSameForNamesOfOneChromosome) {
    for (const char* name : {"20", "chr20", "Chr20", "CHR20", "020"}) EXPECT_EQ(chromosome_key(name), "20");
    for (const char* name : {"X", "x", "chrX", "chrx"}) EXPECT_EQ(chromosome_key(name), "X");
    EXPECT_EQ(chromosome_key("2"), "2");
    EXPECT_EQ(chromosome_key("HLA-A*01:01"), "HLA-A*01:01");
    EXPECT_EQ(chromosome_key(""), "");
    EXPECT_EQ(chromosome_key("0"), "");
}

}  // namespace
