#include "selection/hamming_selection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "support/haplotype_text.h"
#include "support/plain_generator.h"

namespace {

using support::haplotype;
using support::plain_generator;
using support::random_alleles;

// ---- reference implementation with texts and its own heap

struct entry {
    int idx, dist;
};

/// A binary heap with the largest distance on top. A pushed entry climbs while its parent is nearer. To pop
/// the top, the larger child moves up at each level, the right one on ties, and the last entry climbs from
/// the bottom.
class plain_heap {
  public:
    bool empty() const { return entries.empty(); }
    int size() const { return static_cast<int>(entries.size()); }
    const entry& top() const { return entries.front(); }
    void push(entry e) {
        entries.push_back(e);
        climb(entries.size() - 1, e);
    }
    void pop() {
        const entry last = entries.back();
        entries.pop_back();
        if (entries.empty()) return;
        std::size_t hole = 0;
        for (std::size_t left = 1; left < entries.size(); left = 2 * hole + 1) {
            const std::size_t right = left + 1;
            const bool go_right = right < entries.size() && entries[left].dist <= entries[right].dist;
            const std::size_t child = go_right ? right : left;
            entries[hole] = entries[child];
            hole = child;
        }
        climb(hole, last);
    }

  private:
    void climb(std::size_t hole, entry e) {
        while (hole > 0 && entries[(hole - 1) / 2].dist < e.dist) {
            entries[hole] = entries[(hole - 1) / 2];
            hole = (hole - 1) / 2;
        }
        entries[hole] = e;
    }
    std::vector<entry> entries;
};

int distance(const std::string& a, const std::string& b, int first, int last) {
    int n = 0;
    for (int l = 8 * (first / 8); l < std::min(static_cast<int>(a.size()), 8 * (last / 8) + 8); ++l)
        n += a[l] != b[l];
    return n;
}

/// 2 for both, 1 for c1, 0 for c0, -1 for neither.
int overlap_plainly(const std::string& c0, const std::string& c1, const std::string& h0,
                    const std::string& h1, int first, int last, plain_generator& random) {
    double only0 = 0, only1 = 0, both = 0;
    for (int l = first; l <= last; ++l) {
        const bool all_alike = h0[l] == h1[l] && c0[l] == c1[l] && h0[l] == c0[l];
        if (all_alike) continue;
        if (h0[l] == c0[l] && h1[l] == c1[l])
            ++both;
        else if (h0[l] == c0[l])
            ++only0;
        else if (h1[l] == c1[l])
            ++only1;
    }
    const double r0 = random.draw(), r1 = random.draw();
    const bool keep0 = only0 + both > 0 && only0 / (only0 + both) > r0;
    const bool keep1 = only1 + both > 0 && only1 / (only1 + both) > r1;
    return keep0 && keep1 ? 2 : keep1 ? 1 : keep0 ? 0 : -1;
}

class plain_selection {
  public:
    plain_selection(const std::vector<std::string>& haplotypes, int n_individuals, int individual,
                    int n_wanted, int first_locus, int last_locus, plain_generator& generator)
        : H(haplotypes),
          n(n_individuals),
          ind(individual),
          K(n_wanted),
          first(first_locus),
          last(last_locus),
          random(generator) {}

    std::vector<int> among_all() {
        for (int i = 0; i < n; ++i)
            if (i != ind) pair_step(2 * i);
        reference_steps();
        return drain();
    }

    std::vector<int> among_marked(const haplotype_mask& mask) {
        for (int h = 0; h < 2 * n; h += 2) {
            if (mask[h] && mask[h + 1])
                pair_step(h);
            else if (mask[h] || mask[h + 1])
                single_step(mask[h] ? h : h + 1);
        }
        reference_steps();
        return drain();
    }
    int best = 0;

  private:
    static constexpr int FAR = 1000000000;

    int limit() const { return heap.size() < K ? FAR : heap.top().dist; }
    int bounded(int h, int target, int bound) const {
        const int d = distance(H[h], H[2 * ind + target], first, last);
        return d > bound ? FAR : d;
    }
    void trim() {
        while (heap.size() > K) heap.pop();
    }

    void pair_step(int c0) {
        const int bound = limit();
        int d[2] = {0, 0}, w[2] = {-1, -1};
        for (int c = 0; c < 2; ++c) {
            int to_beat = bound;
            for (int target = 0; target < 2; ++target) {
                const int m = bounded(c0 + c, target, bound);
                if (m >= to_beat) continue;
                to_beat = d[c] = m;
                w[c] = target;
            }
        }
        bool push0 = w[0] >= 0, push1 = w[1] >= 0;
        if (push0 && push1 && w[0] != w[1]) {
            const int verdict =
                overlap_plainly(H[c0], H[c0 + 1], H[2 * ind], H[2 * ind + 1], first, last, random);
            push0 = verdict == 0 || verdict == 2;
            push1 = verdict == 1 || verdict == 2;
        }
        if (push0) heap.push({c0, d[0]});
        if (push1) heap.push({c0 + 1, d[1]});
        trim();
    }

    void single_step(int c) {
        const int bound = limit(), da = bounded(c, 0, bound), db = bounded(c, 1, bound);
        if (da < bound && da <= db)
            heap.push({c, da});
        else if (db < bound && db <= da)
            heap.push({c, db});
        trim();
    }

    void reference_steps() {
        for (int h = 2 * n; h < static_cast<int>(H.size()); ++h) {
            const int bound = limit(), d0 = bounded(h, 0, bound), d1 = bounded(h, 1, bound);
            heap.push({h, d0});
            heap.push({h, d1});
            trim();
        }
    }

    std::vector<int> drain() {
        std::vector<int> idx;
        best = last - first;
        for (; !heap.empty(); heap.pop()) {
            idx.push_back(heap.top().idx);
            best = std::min(best, heap.top().dist);
        }
        return idx;
    }

    const std::vector<std::string>& H;
    int n, ind, K, first, last;
    plain_generator& random;
    plain_heap heap;
};

// ---- sets of haplotypes

/// Haplotypes of `n` individuals; those from 2n on are the panel's.
struct haplotype_set {
    haplotype_set(int n, const std::vector<std::string>& texts)
        : text(texts), n_individuals(n), H(support::haplotypes(texts)) {
        tiles.copy(H);
    }
    /// Selects among all haplotypes, or among the marked ones.
    int select(int ind, int K, int first, int last, random_source& random, std::vector<int>& idx) {
        hamming_selection selection(H, tiles, n_individuals, K);
        selection.measure(ind, {first, last, 0, 0}, list);
        selection.draw(random, list);
        return selection.choose(list, idx);
    }
    int select(const haplotype_mask& mask, int ind, int K, int first, int last, random_source& random,
               std::vector<int>& idx) {
        hamming_selection selection(H, tiles, n_individuals, K);
        selection.measure(ind, {first, last, 0, 0}, mask, 0, list);
        selection.draw(random, list);
        return selection.choose(list, idx);
    }
    /// The same if only `early` is marked at first, and `later` is added. Together they are `mask`.
    int select(const haplotype_mask& early, std::vector<int> later, const haplotype_mask& mask, int ind,
               int K, int first, int last, random_source& random, std::vector<int>& idx) {
        hamming_selection selection(H, tiles, n_individuals, K);
        selection.measure(ind, {first, last, 0, 0}, early, static_cast<int>(later.size()), list);
        // The memory of another measurement in between must not matter.
        candidate_list other;
        selection.measure((ind + 1) % n_individuals, {0, last, 0, 0}, other);
        selection.add(later, mask, list);
        selection.draw(random, list);
        return selection.choose(list, idx);
    }

    std::vector<std::string> text;
    int n_individuals;
    std::vector<chaplotype> H;
    haplotype_tiles tiles;
    candidate_list list;
};

std::vector<std::string> random_haplotypes(int n, int n_loci, std::mt19937& random) {
    // Copies of a few haplotypes with changes, so that distances are small and often equal.
    std::vector<std::string> founders, texts;
    for (int f = 0; f < 3; ++f) founders.push_back(random_alleles(n_loci, random));
    for (int h = 0; h < n; ++h) {
        texts.push_back(founders[random() % 3]);
        for (std::size_t change = random() % 4; change > 0; --change) {
            char& allele = texts.back()[random() % static_cast<unsigned>(n_loci)];
            allele = allele == '0' ? '1' : '0';
        }
    }
    return texts;
}

TEST(PlainHeap, AgreesWithTheStandardHeap) {
    std::mt19937 random(1);
    plain_heap plain;
    std::vector<haplotype_distance> heap;
    for (int step = 0; step < 20000; ++step) {
        if (heap.empty() || random() % 5 < 3) {
            const int dist = static_cast<int>(random() % 10);
            plain.push({step, dist});
            heap.push_back({step, dist});
            std::push_heap(heap.begin(), heap.end());
        } else {
            plain.pop();
            std::pop_heap(heap.begin(), heap.end());
            heap.pop_back();
        }
        if (heap.empty()) continue;
        ASSERT_EQ(plain.top().idx, heap.front().idx);
    }
}

TEST(HammingSelection, AgreesWithReference) {
    std::mt19937 random(2);
    int n_full = 0;
    for (int trial = 0; trial < 600; ++trial) {
        const int n = 1 + static_cast<int>(random() % 14),
                  n_panel = trial % 3 == 0 ? 0 : static_cast<int>(random() % 7);
        const int n_loci = 1 + static_cast<int>(random() % 40);
        haplotype_set haps(n, random_haplotypes(2 * n + n_panel, n_loci, random));
        const int ind = static_cast<int>(random() % n), K = static_cast<int>(random() % 25);
        int first = static_cast<int>(random() % n_loci), last = static_cast<int>(random() % n_loci);
        if (first > last) std::swap(first, last);
        plain_generator generator(trial);
        plain_selection plain(haps.text, n, ind, K, first, last, generator);
        std::vector<int> expected, idx = {5, 6, 7};
        random_source draws(trial);
        int best = 0;
        if (trial % 2 == 0) {
            expected = K > 0 ? plain.among_all() : std::vector<int>{};
            best = haps.select(ind, K, first, last, draws, idx);
        } else {
            haplotype_mask mask(haps.text.size()), early(haps.text.size());
            for (std::size_t h = 0; h < mask.size(); ++h) mask[h] = random() % 3 > 0;
            mask[2 * ind] = mask[2 * ind + 1] = false;
            expected = K > 0 ? plain.among_marked(mask) : std::vector<int>{};
            std::vector<int> later;
            for (std::size_t h = 0; h < mask.size(); ++h) {
                early[h] = mask[h] != 0 && random() % 2 > 0;
                if (mask[h] != early[h]) later.push_back(static_cast<int>(h));
            }
            std::shuffle(later.begin(), later.end(), random);
            best = trial % 4 == 1 ? haps.select(mask, ind, K, first, last, draws, idx)
                                  : haps.select(early, later, mask, ind, K, first, last, draws, idx);
        }
        ASSERT_EQ(idx, expected) << "trial " << trial;
        if (K == 0) continue;  // nothing is selected, so the distance has no meaning
        ASSERT_EQ(best, plain.best) << "trial " << trial;
        ASSERT_EQ(draws.draw(), generator.draw()) << "trial " << trial;
        n_full += static_cast<int>(idx.size()) == K;
    }
    EXPECT_GT(n_full, 200) << "the trials cover a full heap";
}

// Sets so large that most pairs are beyond any limit and are not listed.
TEST(HammingSelection, AgreesWithReferenceInLargeSets) {
    std::mt19937 random(3);
    constexpr int N = 300, N_LOCI = 60;
    for (int trial = 0; trial < 40; ++trial) {
        haplotype_set haps(N, random_haplotypes(2 * N + 20, N_LOCI, random));
        const int ind = static_cast<int>(random() % N), K = 5 + static_cast<int>(random() % 30);
        plain_generator generator(trial);
        plain_selection plain(haps.text, N, ind, K, 0, N_LOCI - 1, generator);
        std::vector<int> expected, idx;
        random_source draws(trial);
        if (trial % 2 == 0) {
            expected = plain.among_all();
            haps.select(ind, K, 0, N_LOCI - 1, draws, idx);
            EXPECT_LT(haps.list.pairs.size(), N / 2U);
        } else {
            haplotype_mask mask(haps.text.size()), early(haps.text.size());
            for (std::size_t h = 0; h < mask.size(); ++h) early[h] = mask[h] = random() % 3 == 0;
            std::vector<int> later;
            while (later.size() < static_cast<std::size_t>(K)) {
                const int h = static_cast<int>(random() % mask.size());
                if (mask[h] != 0 || h / 2 == ind) continue;
                mask[h] = 1;
                later.push_back(h);
            }
            for (const int own : {2 * ind, 2 * ind + 1}) early[own] = mask[own] = 0;
            expected = plain.among_marked(mask);
            haps.select(early, later, mask, ind, K, 0, N_LOCI - 1, draws, idx);
        }
        ASSERT_EQ(idx, expected) << "trial " << trial;
        ASSERT_EQ(draws.draw(), generator.draw()) << "trial " << trial;
    }
}

TEST(HammingSelection, KLargerThanTheSet) {
    random_source draws(1);
    // Target 0 is all zeros, target 1 all ones; each other pair is close to target 0.
    haplotype_set haps(
        4, {"00000000", "11111111", "00000000", "00000001", "00000011", "00000001", "00000111", "00000111"});
    std::vector<int> idx;
    EXPECT_EQ(haps.select(0, 100, 0, 7, draws, idx), 0);
    ASSERT_EQ(idx.size(), 6U);
    EXPECT_EQ(std::set<int>(idx.begin(), idx.end()), (std::set<int>{2, 3, 4, 5, 6, 7}));
    EXPECT_EQ((std::set<int>{idx[0], idx[1]}), (std::set<int>{6, 7})) << "the farthest come first";
    EXPECT_EQ(idx[5], 2) << "the nearest comes last";
}

TEST(HammingSelection, TiesWithTheFarthestAreNotTaken) {
    random_source draws(1);
    // All are at distance 1; the first two fill the heap.
    haplotype_set haps(4, {"0000", "0000", "1000", "0100", "0010", "0001", "1000", "0001"});
    std::vector<int> idx;
    EXPECT_EQ(haps.select(0, 2, 0, 3, draws, idx), 1);
    EXPECT_EQ(std::set<int>(idx.begin(), idx.end()), (std::set<int>{2, 3}));
}

TEST(HammingSelection, IdenticalPairIsTakenWithoutDraws) {
    haplotype_set haps(2, {"0000", "1111", "0001", "0001"});
    random_source draws(6);
    std::vector<int> idx;
    EXPECT_EQ(haps.select(0, 10, 0, 3, draws, idx), 1);
    EXPECT_EQ(std::set<int>(idx.begin(), idx.end()), (std::set<int>{2, 3}));
    EXPECT_EQ(draws.draw(), plain_generator(6).draw()) << "both are closest to the same target: no draw";
}

TEST(HammingSelection, EqualTargetsCountAsTheFirst) {
    haplotype_set haps(3, {"0011", "0011", "0111", "1011", "0000", "1111"});
    random_source draws(6);
    std::vector<int> idx;
    EXPECT_EQ(haps.select(0, 10, 0, 3, draws, idx), 1);
    EXPECT_EQ(idx.size(), 4U);
    EXPECT_EQ(draws.draw(), plain_generator(6).draw());
}

TEST(HammingSelection, PairsOfDifferentTargetsAreDrawn) {
    // Haplotype 2 equals target 0 and haplotype 3 target 1, so no locus is matched by only one of them.
    haplotype_set haps(2, {"0011", "1100", "0011", "1100"});
    for (int seed = 1; seed <= 20; ++seed) {
        plain_generator plain(seed);
        random_source draws(seed);
        std::vector<int> idx;
        EXPECT_EQ(haps.select(0, 10, 0, 3, draws, idx), 3) << "last - first, as nothing was selected";
        EXPECT_TRUE(idx.empty());
        plain.draw();
        plain.draw();
        EXPECT_EQ(draws.draw(), plain.draw()) << "takes two draws";
    }
}

TEST(HammingSelection, PanelHaplotypeMayBeSelectedTwice) {
    random_source draws(1);
    haplotype_set haps(1, {"0000", "0000", "0001", "0011"});
    std::vector<int> idx;
    EXPECT_EQ(haps.select(0, 3, 0, 3, draws, idx), 1);
    ASSERT_EQ(idx.size(), 3U);
    EXPECT_EQ(std::count(idx.begin(), idx.end(), 2), 2);
    EXPECT_EQ(idx[0], 3);
}

TEST(HammingSelection, PanelHaplotypeAtTheLimitIsPushedAndTrimmed) {
    random_source draws(1);
    // With K = 1 and one entry at distance 1, the steps of the heap decide whether another at distance 1
    // replaces it.
    haplotype_set haps(1, {"0000", "0000", "0001", "0010", "0100"});
    plain_generator generator(1);
    plain_selection plain(haps.text, 1, 0, 1, 0, 3, generator);
    std::vector<int> idx;
    EXPECT_EQ(haps.select(0, 1, 0, 3, draws, idx), 1);
    EXPECT_EQ(idx, plain.among_all());
    ASSERT_EQ(idx.size(), 1U);
}

TEST(HammingSelection, BestIsAtMostTheLengthOfTheRange) {
    random_source draws(1);
    haplotype_set haps(2, {"00000000", "00000000", "11111111", "11111111"});
    std::vector<int> idx;
    EXPECT_EQ(haps.select(0, 2, 0, 3, draws, idx), 3) << "the distance of the whole byte is 8";
    EXPECT_EQ(haps.select(0, 2, 5, 5, draws, idx), 0);
    EXPECT_EQ(idx.size(), 2U);
}

TEST(HammingSelection, NoOtherIndividuals) {
    random_source draws(1);
    haplotype_set haps(1, {"00000000", "01010101"});
    std::vector<int> idx = {1, 2};
    EXPECT_EQ(haps.select(0, 5, 2, 2, draws, idx), 0);
    EXPECT_TRUE(idx.empty());
    EXPECT_EQ(haps.select(0, 5, 0, 7, draws, idx), 7);
}

TEST(HammingSelection, KOfZeroSelectsNothing) {
    random_source draws(1);
    std::mt19937 random(3);
    haplotype_set haps(5, random_haplotypes(14, 30, random));
    for (const int K : {0, -3}) {
        std::vector<int> idx = {1};
        haps.select(2, K, 0, 29, draws, idx);
        EXPECT_TRUE(idx.empty());
    }
}

TEST(HammingSelectionOfAMask, PanelIsOfferedWhateverItsMarks) {
    random_source draws(1);
    haplotype_set haps(2, {"0000", "0000", "0001", "0001", "0011"});
    std::vector<int> idx;
    EXPECT_EQ(haps.select(haplotype_mask(5, 0), 0, 10, 0, 3, draws, idx), 2);
    EXPECT_EQ(idx, (std::vector<int>{4, 4}));
}

TEST(HammingSelectionOfAMask, AppliesToItsMeasurementOnly) {
    const haplotype_set haps(3, {"0000", "0000", "0001", "0001", "0011", "0011"});
    hamming_selection selection(haps.H, haps.tiles, 3, 10);
    random_source draws(1);
    std::vector<int> idx;
    candidate_list list;
    const auto selected = [&] {
        selection.draw(draws, list);
        selection.choose(list, idx);
        return std::set<int>(idx.begin(), idx.end());
    };
    const haplotype_mask mask = {0, 1, 0, 0, 0, 1};
    selection.measure(1, {0, 3, 0, 0}, mask, 0, list);
    EXPECT_EQ(selected(), (std::set<int>{1, 5}));
    selection.measure(1, {0, 3, 0, 0}, list);
    EXPECT_EQ(selected(), (std::set<int>{0, 1, 4, 5}));
    selection.measure(1, {0, 3, 0, 0}, mask, 0, list);
    EXPECT_EQ(selected(), (std::set<int>{1, 5}));
}

TEST(HammingSelectionOfAMask, SingleHaplotypesNeedNoDraws) {
    haplotype_set haps(3, {"0011", "1100", "0011", "1100", "0111", "1100"});
    random_source draws(4);
    std::vector<int> idx;
    EXPECT_EQ(haps.select(haplotype_mask{0, 0, 1, 0, 0, 1}, 0, 10, 0, 3, draws, idx), 0);
    EXPECT_EQ(std::set<int>(idx.begin(), idx.end()), (std::set<int>{2, 5}));
    EXPECT_EQ(draws.draw(), plain_generator(4).draw());
}

// ---- overlap of matches

/// Draws which haplotypes of a pair are taken: 2 for both, 1 for c1 only, 0 for c0 only, -1 for neither.
int verdict(const chaplotype& c0, const chaplotype& c1, const chaplotype& h0, const chaplotype& h1, int first,
            int last, random_source& random) {
    const std::array<double, 2> chance = chances_of_pair(c0, c1, h0, h1, first, last);
    const bool take0 = chance[0] > random.draw(), take1 = chance[1] > random.draw();
    if (take0 && take1) return 2;
    if (take1) return 1;
    return take0 ? 0 : -1;
}

TEST(ChancesOfPair, AgreesWithReference) {
    std::mt19937 random(4);
    std::set<int> results;
    for (int trial = 0; trial < 1000; ++trial) {
        const int n_loci = 1 + static_cast<int>(random() % 200);
        const std::vector<std::string> t = random_haplotypes(4, n_loci, random);
        int first = static_cast<int>(random() % n_loci), last = static_cast<int>(random() % n_loci);
        if (first > last) std::swap(first, last);
        plain_generator generator(trial);
        const int expected = overlap_plainly(t[0], t[1], t[2], t[3], first, last, generator);
        random_source draws(trial);
        ASSERT_EQ(
            verdict(haplotype(t[0]), haplotype(t[1]), haplotype(t[2]), haplotype(t[3]), first, last, draws),
            expected)
            << "trial " << trial;
        ASSERT_EQ(draws.draw(), generator.draw()) << "takes two draws";
        results.insert(expected);
    }
    EXPECT_EQ(results, (std::set<int>{-1, 0, 1, 2}));
}

TEST(ChancesOfPair, NoInformativeLocusTakesNeither) {
    for (int seed = 1; seed <= 20; ++seed) {
        random_source draws(seed);
        // All four are equal everywhere.
        EXPECT_EQ(
            verdict(haplotype("0101"), haplotype("0101"), haplotype("0101"), haplotype("0101"), 0, 3, draws),
            -1);
        // No match anywhere.
        EXPECT_EQ(
            verdict(haplotype("1111"), haplotype("1111"), haplotype("0000"), haplotype("0000"), 0, 3, draws),
            -1);
        plain_generator plain(seed);
        for (int draw = 0; draw < 4; ++draw) plain.draw();
        EXPECT_EQ(draws.draw(), plain.draw()) << "takes two draws each";
    }
}

TEST(ChancesOfPair, MatchesOfOneOnlyAlwaysTakeIt) {
    for (int seed = 1; seed <= 20; ++seed) {
        random_source draws(seed);
        // c0 matches h0 at every locus, c1 never matches h1; then the reverse; then each matches half of the
        // loci.
        EXPECT_EQ(
            verdict(haplotype("0000"), haplotype("0000"), haplotype("0000"), haplotype("1111"), 0, 3, draws),
            0);
        EXPECT_EQ(
            verdict(haplotype("1111"), haplotype("1111"), haplotype("0000"), haplotype("1111"), 0, 3, draws),
            1);
        EXPECT_EQ(
            verdict(haplotype("0011"), haplotype("0011"), haplotype("0000"), haplotype("1111"), 0, 3, draws),
            2);
    }
}

TEST(ChancesOfPair, CountsOnlyLociInTheRange) {
    random_source draws(1);
    // Outside the range but within its byte, c1 matches everything.
    EXPECT_EQ(verdict(haplotype("11001111"), haplotype("11001111"), haplotype("00000000"),
                      haplotype("11111111"), 2, 3, draws),
              0);
}

}  // namespace
