#include "tools/local_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

using simulation::Demography;
using simulation::LocalTree;
using simulation::one_generation;
using simulation::RandomSource;

namespace {

constexpr int leaves = 5;
constexpr double individuals = 1'000;
constexpr double expected_length = 4 * individuals * (1 + 1 / 2.0 + 1 / 3.0 + 1 / 4.0);
constexpr int trees = 20'000;

TEST(Demography, CoalescentTimeRunsFasterInASmallPopulation) {
    const Demography demography({{0, 100}, {50, 10}});
    EXPECT_DOUBLE_EQ(demography.after(0, 0.1), 20 * one_generation);
    EXPECT_DOUBLE_EQ(demography.after(60 * one_generation, 0.5), 70 * one_generation);
    // The first 50 generations are a quarter of a unit; then one unit is 20 generations.
    EXPECT_DOUBLE_EQ(demography.after(0, 1.25), 70 * one_generation);
}

TEST(LocalTree, FirstTreeHasTheLengthOfTheCoalescent) {
    const Demography demography({{0, individuals}});
    RandomSource random(1);
    double sum = 0;
    for (int i = 0; i < trees; ++i) sum += LocalTree(leaves, demography, random).total_length();
    EXPECT_NEAR(sum / trees, expected_length, 0.02 * expected_length);
}

// A tree covers a stretch of the chromosome inversely proportional to its length. Weighted accordingly, the
// trees must have the length and the mutations of single loci.
TEST(LocalTree, RecombinationKeepsLengthAndMutationFrequencies) {
    const Demography demography({{0, individuals}});
    RandomSource random(2);
    LocalTree tree(leaves, demography, random);
    std::vector<int> carriers;
    std::array<double, leaves> spectrum{};
    double stretches = 0;
    double lengths = 0;
    for (int i = 0; i < 20 * trees; ++i) {
        tree.recombine(random);
        const double stretch = 1 / tree.total_length();
        stretches += stretch;
        lengths += stretch * tree.total_length();
        tree.mutate(random, carriers);
        spectrum.at(carriers.size()) += stretch * tree.total_length();
    }
    EXPECT_NEAR(lengths / stretches, expected_length, 0.03 * expected_length);
    const double harmonic_sum = 1 + 1 / 2.0 + 1 / 3.0 + 1 / 4.0;
    for (int count = 1; count < leaves; ++count) {
        EXPECT_NEAR(spectrum.at(count) / lengths, 1 / (count * harmonic_sum), 0.01) << count;
    }
}

TEST(LocalTree, CarriersAreDistinctLeaves) {
    RandomSource random(3);
    const Demography demography = simulation::expanding_population();
    LocalTree tree(300, demography, random);
    std::vector<int> carriers;
    for (int i = 0; i < 2'000; ++i) {
        tree.recombine(random);
        tree.mutate(random, carriers);
        std::sort(carriers.begin(), carriers.end());
        ASSERT_FALSE(carriers.empty());
        ASSERT_LT(carriers.size(), 300u);
        ASSERT_GE(carriers.front(), 0);
        ASSERT_LT(carriers.back(), 300);
        ASSERT_EQ(std::adjacent_find(carriers.begin(), carriers.end()), carriers.end());
    }
}

}  // namespace
