#include "containers/snp_set.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "support/child_process.h"
#include "support/plain_generator.h"

namespace {

using support::aborts_on;
using support::plain_generator;

void put_all(snp_set& set, const std::vector<int>& positions) {
    for (const int pos : positions) set.put(snp(pos, "A", "G"));
}

std::vector<double> cm_of(const snp_set& set) {
    std::vector<double> cm;
    for (const snp& s : set.snp_list) cm.push_back(s.cm);
    return cm;
}

/// The second alleles of the variants at a position.
std::string alleles_at(snp_set& set, int pos) {
    std::string text;
    for (const snp& s : set.getByPos(pos)) text += s.a1;
    return text;
}

TEST(SnpSet, FindsVariantsByIndexAndPosition) {
    snp_set set;
    EXPECT_EQ(set.size(), 0);
    EXPECT_EQ(alleles_at(set, 100), "");
    for (const auto& [pos, a1] : {std::pair(100, "G"), std::pair(200, "C"), std::pair(200, "T")})
        set.put(snp(pos, "A", a1));
    EXPECT_EQ(set.size(), 3);
    EXPECT_EQ(set.getByIndex(0)->a1, "G");
    EXPECT_EQ(set.getByIndex(2)->a1, "T");
    EXPECT_EQ(alleles_at(set, 100), "G");
    EXPECT_EQ(alleles_at(set, 200), "CT");
    EXPECT_EQ(&set.getByPos(200)[1], set.getByIndex(2)) << "the variants themselves";
    EXPECT_EQ(alleles_at(set, 150), "");
    EXPECT_EQ(alleles_at(set, -1), "");
    EXPECT_EQ(alleles_at(set, 201), "");
}

TEST(SnpSet, IndexingSetsIndexAndSecondAllele) {
    snp_set set;
    set.put(snp(100, "A", ""));
    set.put(snp(200, "A", "G"));
    for (const snp& s : set.snp_list) EXPECT_EQ(s.idx, -1);
    set.indexing();
    EXPECT_EQ(set.getByIndex(0)->idx, 0);
    EXPECT_EQ(set.getByIndex(1)->idx, 1);
    EXPECT_EQ(set.getByIndex(0)->a1, "A");
    EXPECT_EQ(set.getByIndex(1)->a1, "G");
}

// ---- genetic positions

TEST(SetCentiMorgan, SetsVariantsAtMapPoints) {
    snp_set set;
    put_all(set, {100, 200, 200, 300});
    EXPECT_EQ(set.setCentiMorgan({100, 150, 200}, {0.5, 1.0, 2.0}), 3);
    EXPECT_EQ(cm_of(set), (std::vector<double>{0.5, 2.0, 2.0, -1.0}));
}

TEST(SetCentiMorgan, LaterOfTwoPointsWins) {
    snp_set set;
    put_all(set, {100});
    EXPECT_EQ(set.setCentiMorgan({100, 100}, {0.5, 0.75}), 2) << "counted once per point";
    EXPECT_EQ(set.getByIndex(0)->cm, 0.75);
}

TEST(SetCentiMorgan, EmptyMapSetsNothing) {
    snp_set set;
    put_all(set, {100});
    EXPECT_EQ(set.setCentiMorgan({}, {}), 0);
    EXPECT_EQ(set.getByIndex(0)->cm, -1.0);
}

TEST(InterpolateCentiMorgan, Examples) {
    snp_set set;
    put_all(set, {150, 200, 250, 500});
    const std::vector<int> pos = {100, 200, 300};
    const std::vector<double> cm = {0.0, 1.0, 4.0};
    EXPECT_EQ(set.setCentiMorgan(pos, cm), 1);
    EXPECT_EQ(set.interpolateCentiMorgan(pos, cm), 3);
    // Halfway, at a point, halfway, and 200 bp beyond the end at the mean rate of 4 cM in 200 bp.
    EXPECT_EQ(cm_of(set), (std::vector<double>{0.5, 1.0, 2.5, 8.0}));
}

TEST(InterpolateCentiMorgan, VariantsBelowTheMapShiftAllPositions) {
    snp_set set;
    put_all(set, {50, 100, 150});
    const std::vector<int> pos = {100, 200};
    const std::vector<double> cm = {0.0, 2.0};
    EXPECT_EQ(set.setCentiMorgan(pos, cm), 1);
    EXPECT_EQ(set.interpolateCentiMorgan(pos, cm), 2);
    EXPECT_EQ(cm_of(set), (std::vector<double>{0.0, 1.0, 2.0})) << "those set from the map are shifted too";
}

TEST(InterpolateCentiMorgan, SingleVariantBelowTheMapIsAtZero) {
    snp_set set;
    put_all(set, {50});
    EXPECT_EQ(set.interpolateCentiMorgan({100, 200}, {1.0, 3.0}), 1);
    EXPECT_EQ(cm_of(set), std::vector<double>{0.0}) << "1 cM minus 50 bp at 0.02 cM per bp is 0";
    snp_set further;
    put_all(further, {20});
    EXPECT_EQ(further.interpolateCentiMorgan({100, 200}, {0.25, 2.25}), 1);
    EXPECT_EQ(cm_of(further), std::vector<double>{0.0});
}

TEST(InterpolateCentiMorgan, ZeroCountsAsSet) {
    snp_set set;
    put_all(set, {100, 150});
    set.getByIndex(0)->cm = 0.0;
    set.getByIndex(1)->cm = 7.0;
    EXPECT_EQ(set.interpolateCentiMorgan({100, 200}, {1.0, 2.0}), 0);
    EXPECT_EQ(cm_of(set), (std::vector<double>{0.0, 7.0}));
}

TEST(InterpolateCentiMorgan, NegativeMapPointCountsAsUnset) {
    snp_set set;
    put_all(set, {100, 200, 300});
    const std::vector<int> pos = {100, 200, 300};
    const std::vector<double> cm = {-0.5, -0.25, 1.0};
    EXPECT_EQ(set.setCentiMorgan(pos, cm), 3);
    EXPECT_EQ(set.interpolateCentiMorgan(pos, cm), 2);
    // The first two positions are negative, so they are interpolated again: at the first point its own value,
    // at the second halfway between -0.5 and 1. Then all are shifted by 0.5.
    EXPECT_EQ(cm_of(set), (std::vector<double>{0.0, 0.75, 1.5}));
}

TEST(InterpolateCentiMorgan, EmptySetStaysUnchanged) {
    EXPECT_EQ(snp_set().interpolateCentiMorgan({}, {}), 0);
    EXPECT_EQ(snp_set().interpolateCentiMorgan({1, 2}, {0.0, 1.0}), 0);
}

TEST(InterpolateCentiMorgan, NeedsTwoPointsIfAVariantIsUnset) {
    const std::string message = "The genetic map must hold at least 2 positions";
    for (const auto& [pos, cm] : {std::pair(std::vector<int>{}, std::vector<double>{}),
                                  std::pair(std::vector<int>{100}, std::vector<double>{1.0})})
        EXPECT_TRUE(support::stops_with(message, [&, &map_pos = pos, &map_cm = cm] {
            snp_set set;
            put_all(set, {100, 200});
            set.interpolateCentiMorgan(map_pos, map_cm);
        }));
    snp_set set;
    put_all(set, {100});
    set.setCentiMorgan({100}, {1.0});
    EXPECT_EQ(set.interpolateCentiMorgan({100}, {1.0}), 0)
        << "one point is enough for a variant exactly at it";
}

/// Genetic positions by walking along the map from both ends.
std::vector<double> interpolate_plainly(const std::vector<int>& bp, std::vector<double> at,
                                        const std::vector<int>& pos, const std::vector<double>& cm,
                                        int& n_interpolated) {
    const int n = static_cast<int>(pos.size());
    const double rate = (cm[n - 1] - cm[0]) / (pos[n - 1] - pos[0]);
    for (std::size_t v = 0; v < bp.size(); ++v) {
        if (at[v] >= 0.0) continue;
        ++n_interpolated;
        if (bp[v] < pos[0]) {
            at[v] = cm[0] - (pos[0] - bp[v]) * rate;
        } else if (bp[v] > pos[n - 1]) {
            at[v] = cm[n - 1] + (bp[v] - pos[n - 1]) * rate;
        } else {
            int left = 0, right = n - 1;
            for (int i = 1; i < n && pos[i] < bp[v]; ++i) left = i;
            for (int i = n - 2; i >= 0 && pos[i] > bp[v]; --i) right = i;
            at[v] = cm[left] + (cm[right] - cm[left]) * (bp[v] - pos[left]) / (pos[right] - pos[left]);
        }
    }
    if (at[0] < 0.0) {
        const double lowest = at[0];
        for (double& value : at) value -= lowest;
    }
    return at;
}

TEST(InterpolateCentiMorgan, AgreesWithReference) {
    std::mt19937 random(1);
    for (int trial = 0; trial < 200; ++trial) {
        std::vector<int> pos, bp;
        std::vector<double> cm;
        int at = 1000;
        double here = static_cast<double>(random() % 100) / 64.0;
        for (std::size_t i = 0, n = 2 + random() % 30; i < n; ++i) {
            pos.push_back(at);
            cm.push_back(here);
            at += static_cast<int>(random() % 50);  // two points may have the same position
            here += static_cast<double>(random() % 100) / 1000.0;
        }
        if (pos.back() == pos.front()) continue;
        for (std::size_t v = 0, n = 1 + random() % 60; v < n; ++v)
            bp.push_back(900 + static_cast<int>(random() % (static_cast<unsigned>(pos.back()) - 700)));
        std::sort(bp.begin(), bp.end());
        snp_set set;
        put_all(set, bp);
        const int n_set = set.setCentiMorgan(pos, cm);
        int expected_set = 0, expected_interpolated = 0;
        std::vector<double> expected(bp.size(), -1.0);
        for (std::size_t i = 0; i < pos.size(); ++i)
            for (std::size_t v = 0; v < bp.size(); ++v)
                if (bp[v] == pos[i]) {
                    expected[v] = cm[i];
                    ++expected_set;
                }
        EXPECT_EQ(n_set, expected_set);
        expected = interpolate_plainly(bp, expected, pos, cm, expected_interpolated);
        EXPECT_EQ(set.interpolateCentiMorgan(pos, cm), expected_interpolated);
        EXPECT_EQ(cm_of(set), expected) << "trial " << trial;
    }
}

// ---- windows

/// `n` variants, evenly spaced from 0 to `span` bp.
void put_spread(snp_set& set, int n, int span) {
    for (int i = 0; i < n; ++i)
        set.put(snp(static_cast<int>(static_cast<long>(span) * i / (n - 1)), "A", "G"));
}

TEST(Rpartition, ChromosomeShorterThanAWindowIsOneWindow) {
    snp_set set;
    put_spread(set, 50, 999);
    random_source random(3);
    EXPECT_EQ(set.rpartition(1000.0, random), (std::vector<int>{0, 50}));
    EXPECT_EQ(random.draw(), plain_generator(3).draw()) << "takes no draw";
}

TEST(Rpartition, OnePositionOrOneVariantIsOneWindow) {
    for (const std::vector<int>& positions : {std::vector<int>{500}, {500, 500, 500}}) {
        snp_set set;
        put_all(set, positions);
        random_source random(1);
        EXPECT_EQ(set.rpartition(1000.0, random), (std::vector<int>{0, static_cast<int>(positions.size())}));
    }
}

TEST(Rpartition, TwoWindowsDrawOnce) {
    for (int seed = 1; seed <= 50; ++seed) {
        snp_set set;
        put_spread(set, 400, 2500);
        random_source random(seed);
        const std::vector<int> output = set.rpartition(1000.0, random);
        ASSERT_EQ(output.size(), 3U);
        EXPECT_EQ(output[0], 0);
        EXPECT_EQ(output[2], 400);
        EXPECT_GE(output[1], 190) << "within 5 % of 200";
        EXPECT_LE(output[1], 210);
        plain_generator plain(seed);
        plain.draw();
        EXPECT_EQ(random.draw(), plain.draw()) << "takes one draw";
    }
}

TEST(Rpartition, QuotientRoundedBelowAnIntegerGivesOneWindowFewer) {
    // 9 bp in windows of 1.2 bp give a quotient of 7, but 9 / (9 / 7.0) is 6.999... In the same way 25 / (25
    // / 11.0) is 10.999...
    struct row {
        int span;
        double size;
        int expected;
    };
    for (const row& r :
         {row{9, 1.2, 6}, row{25, 2.2, 10}, row{27, 2.0, 12}, row{8, 2.0, 4}, row{9, 2.0, 4}}) {
        snp_set set;
        put_spread(set, 1000, r.span);
        random_source random(1);
        EXPECT_EQ(set.rpartition(r.size, random).size(), r.expected + 1U) << r.span << " bp by " << r.size;
    }
}

TEST(Rpartition, BordersFollowTheDraws) {
    for (int seed = 1; seed <= 100; ++seed) {
        const int n = 500 + 37 * seed, span = 1000000 + 10007 * seed;
        const double size = 20000.0 + 1000.0 * seed;
        snp_set set;
        put_spread(set, n, span);
        const double q = std::floor(span / size);
        const int w = static_cast<int>(span / (span / q)), step = n / w;
        plain_generator plain(seed);
        std::vector<int> expected = {0};
        for (int i = 1; i < w; ++i) {
            const double r = static_cast<float>(static_cast<int>(std::floor(plain.draw() * step)));
            expected.push_back(static_cast<int>(r * 0.1 + i * step - 0.05 * step));
        }
        expected.push_back(n);
        random_source random(seed);
        const std::vector<int> output = set.rpartition(size, random);
        ASSERT_EQ(output, expected) << "seed " << seed;
        for (int i = 1; i < w; ++i) {
            EXPECT_GE(output[i], i * step - 0.05 * step - 1.0);
            EXPECT_LE(output[i], i * step + 0.05 * step);
        }
    }
}

TEST(Rpartition, WindowsWithoutVariantsAbort) {
    EXPECT_TRUE(aborts_on("(output[i] - prev) > 0", [] {
        snp_set set;
        put_all(set, {0, 500000, 1000000});
        random_source random(1);
        set.rpartition(1000.0, random);
    }));
}

}  // namespace
