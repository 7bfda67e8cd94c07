#include "utils/fixed_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

/// A key, and the place that tells equal keys apart.
using entry = std::pair<int, int>;

bool by_key(const entry& a, const entry& b) {
    return a.first < b.first;
}

std::vector<entry> entries(const std::vector<int>& keys) {
    std::vector<entry> all;
    for (const int key : keys) all.emplace_back(key, static_cast<int>(all.size()));
    return all;
}

void fixed(std::vector<entry>& all) {
    fixed_sort::sort(std::span(all), by_key);
}

/// Keys on which the sort halves badly again and again: found by an adversary who decides comparisons as they
/// come (McIlroy 1999, Software: Practice and Experience 29:341).
std::vector<int> killer(int n) {
    const int gas = n;
    std::vector<int> keys(static_cast<std::size_t>(n), gas), places;
    for (int i = 0; i < n; ++i) places.push_back(i);
    int n_solid = 0, candidate = 0;
    const auto less = [&](int a, int b) {
        if (keys[a] == gas && keys[b] == gas) keys[a == candidate ? a : b] = n_solid++;
        if (keys[a] == gas) candidate = a;
        if (keys[b] == gas) candidate = b;
        return keys[a] < keys[b];
    };
    fixed_sort::sort(std::span(places), less);
    return keys;
}

TEST(FixedSort, OrderOfEqualEntries) {
    std::vector<entry> few = entries({1, 0, 1, 0, 1});
    fixed(few);
    EXPECT_EQ(few, (std::vector<entry>{{0, 1}, {0, 3}, {1, 0}, {1, 2}, {1, 4}})) << "short ranges are stable";
    std::vector<entry> equal = entries(std::vector<int>(20, 7));
    fixed(equal);
    std::vector<int> places;
    for (const entry& e : equal) places.push_back(e.second);
    EXPECT_EQ(places,
              (std::vector<int>{10, 19, 18, 17, 16, 15, 14, 13, 12, 11, 0, 9, 8, 7, 6, 5, 4, 3, 2, 1}));
}

TEST(FixedSort, Sorts) {
    std::mt19937 random(1);
    for (int n = 0; n < 300; ++n) {
        std::vector<int> keys;
        for (int i = 0; i < n; ++i) keys.push_back(static_cast<int>(random() % 50));
        std::vector<entry> all = entries(keys);
        fixed(all);
        EXPECT_TRUE(std::is_sorted(all.begin(), all.end(), by_key)) << n;
        std::sort(all.begin(), all.end(), [](const entry& a, const entry& b) { return a.second < b.second; });
        EXPECT_EQ(all, entries(keys)) << "nothing lost";
    }
}

// The rules are those of this library, on which they have to agree.
#ifdef __GLIBCXX__
void expect_same(const std::vector<int>& keys) {
    std::vector<entry> all = entries(keys), expected = all;
    fixed(all);
    std::sort(expected.begin(), expected.end(), by_key);
    EXPECT_EQ(all, expected) << keys.size();
}

TEST(FixedSort, IsTheSortOfTheGnuLibrary) {
    std::mt19937 random(2);
    for (int round = 0; round < 3000; ++round) {
        const auto n = random() % (round % 10 == 0 ? 2000 : 100);
        const auto n_keys = 1 + random() % (round % 3 == 0 ? 3 : 200);
        std::vector<int> keys;
        for (std::size_t i = 0; i < n; ++i) keys.push_back(static_cast<int>(random() % n_keys));
        expect_same(keys);
        if (round % 7 == 0) std::sort(keys.begin(), keys.end());
        if (round % 14 == 0) std::reverse(keys.begin(), keys.end());
        expect_same(keys);
    }
}

TEST(FixedSort, IsTheSortOfTheGnuLibraryForBadOrders) {
    for (const int n : {17, 50, 100, 101, 1000, 2000, 4001}) {
        std::vector<int> keys = killer(n);
        expect_same(keys);
        for (int& key : keys) key /= 3;  // equal entries within the heap
        expect_same(keys);
    }
}
#endif

}  // namespace
