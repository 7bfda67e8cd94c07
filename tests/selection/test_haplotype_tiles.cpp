#include "selection/haplotype_tiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <random>
#include <string>

#include "support/haplotype_text.h"
#include "support/plain_distance.h"

namespace {

using bit_kernels::kernel_set;
using support::haplotype;
using support::plain_distance;
using support::random_alleles;

/// With each set of kernels that this machine supports.
class haplotype_tiles_with : public ::testing::TestWithParam<const kernel_set*> {
  protected:
    const kernel_set& kernels = *GetParam();
    std::mt19937 random{1};
};

TEST_P(haplotype_tiles_with, TilesGiveBothDistances) {
    haplotype_tiles tiles;
    for (int trial = 0; trial < 200; ++trial) {
        const int n = 2 + static_cast<int>(random() % 40),
                  n_loci = 1 + static_cast<int>(random() % (trial % 10 == 0 ? 6000 : 300));
        const int n_bytes = (n_loci + 7) / 8, first = static_cast<int>(random() % n_bytes),
                  n_range = 1 + static_cast<int>(random() % (n_bytes - first));
        std::vector<std::string> texts;
        for (int h = 0; h < n; ++h) texts.push_back(random_alleles(n_loci, random));
        tiles.copy(support::haplotypes(texts));
        ASSERT_EQ(tiles.size(), n);
        ASSERT_EQ(tiles.all().size(), (n + 7) / 8);
        const int t0 = static_cast<int>(random() % n), t1 = static_cast<int>(random() % n);
        const std::vector<int> some = {tiles.all().back(), 0};
        for (const std::vector<int>& of_tiles : {tiles.all(), some}) {
            target_distances d{std::vector<int>(1, -1), std::vector<int>(48, -1), {}};
            tiles.distances(of_tiles, t0, t1, first, n_range, d, kernels);
            for (const int tile : of_tiles)
                for (int h = 8 * tile; h < std::min(8 * tile + 8, n); ++h) {
                    ASSERT_EQ(d.d0[h], plain_distance(texts[h], texts[t0], first, n_range));
                    ASSERT_EQ(d.d1[h], plain_distance(texts[h], texts[t1], first, n_range));
                }
            if (of_tiles.size() == 2 && n > 16) {
                EXPECT_EQ(d.d1[8], -1) << "a tile that was not asked for";
            }
        }
    }
}

TEST_P(haplotype_tiles_with, TilesCountMoreThanAByteHolds) {
    haplotype_tiles tiles;
    tiles.copy({haplotype(std::string(5000, '0')), haplotype(std::string(5000, '1'))});
    target_distances d;
    tiles.distances(tiles.all(), 0, 1, 1, 623, d, kernels);
    EXPECT_EQ(d.d0[0], 0);
    EXPECT_EQ(d.d0[1], 623 * 8);
    EXPECT_EQ(d.d1[0], 623 * 8);
    EXPECT_EQ(d.d1[1], 0);
}

INSTANTIATE_TEST_SUITE_P(Sets, haplotype_tiles_with, ::testing::ValuesIn(bit_kernels::available_kernels()),
                         [](const auto& set) {
                             std::string name = set.param->name;
                             std::erase_if(name, [](unsigned char c) { return std::isalnum(c) == 0; });
                             return name;
                         });

}  // namespace
