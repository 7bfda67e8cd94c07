#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>

#include "containers/genhap_set.h"
#include "objects/haplotypeCluster.h"
#include "support/child_process.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "support/plain_generator.h"
#include "utils/putils.h"

namespace {

using support::plain_generator;

/// A tree over these haplotypes, with a span of whole bytes from `start8` on.
haplotypeCluster bare_tree(const genhap_set& set, int start8, int span) {
    haplotypeCluster tree(&set);
    tree.nhap = static_cast<int>(set.vecH.size());
    tree.start8 = tree.start = start8;
    tree.stop8 = tree.stop = start8 + span;
    tree.span = span;
    tree.assign.assign(set.vecH.size(), 0);
    return tree;
}

std::vector<int> numbers(int n) {
    std::vector<int> all;
    for (int i = 0; i < n; ++i) all.push_back(i);
    return all;
}

// ---- distances

TEST(Hap2float, AllelesOfTheSpan) {
    genhap_set set;
    set.vecH = support::haplotypes({"11111111 01100101"});
    std::vector<float> v = {7.0F};
    EXPECT_EQ(bare_tree(set, 8, 8).hap2float(0, v), 0);
    EXPECT_EQ(v, (std::vector<float>{0, 1, 1, 0, 0, 1, 0, 1}));
}

TEST(Ham, ComparesOneLocusOfEachByte) {
    genhap_set set;
    set.vecH = support::haplotypes({"00000000 00000000 00000000", "00100000 01100000 00011111"});
    haplotypeCluster tree = bare_tree(set, 0, 24);
    const int expected[] = {0, 1, 2, 1, 1, 1, 1, 1};
    for (int offset = 0; offset < 8; ++offset) {
        tree.thin_offset = offset;
        EXPECT_EQ(tree.ham(0, 1), expected[offset]) << "bit " << offset;
    }
    haplotypeCluster later = bare_tree(set, 8, 8);
    later.thin_offset = 2;
    EXPECT_EQ(later.ham(0, 1), 1);
    EXPECT_EQ(bare_tree(set, 0, 0).ham(0, 1), 0);
}

TEST(Euc, ThinnedDistanceToAMean) {
    genhap_set set;
    set.vecH = support::haplotypes({"00000000 00000000", "01000000 00000000", "01000000 01000000"});
    haplotypeCluster tree = bare_tree(set, 0, 16);
    tree.thin_offset = 1;
    tree.mu = {{0.25F, 0.5F}, {1.0F, 0.0F}};
    tree.wipedlook();
    EXPECT_EQ(tree.euc(0, 0), 0.0625F + 0.25F);
    EXPECT_EQ(tree.euc(1, 0), 0.5625F + 0.25F);
    EXPECT_EQ(tree.euc(2, 1), 0.0F + 1.0F);
    EXPECT_EQ(tree.euc(1, 1), 0.0F);
}

TEST(Euc, FullDistanceToAMean) {
    genhap_set set;
    set.vecH = support::haplotypes({"11111111 01010101"});
    const haplotypeCluster tree = bare_tree(set, 8, 8);
    EXPECT_EQ(tree.euc(0, std::vector<float>(8, 0.5F)), 2.0F);
    EXPECT_EQ(tree.euc(0, {0, 1, 0, 1, 0, 1, 0, 1}), 0.0F);
    EXPECT_EQ(bare_tree(set, 0, 0).euc(0, std::vector<float>{}), 0.0F);
}

TEST(GetIdx, MembersInOrder) {
    const genhap_set set;
    haplotypeCluster tree(&set);
    tree.branch = {2, 5, 9};
    tree.nhap = 10;
    EXPECT_EQ(tree.getIdx(0), 2);
    EXPECT_EQ(tree.getIdx(2), 9);
    EXPECT_EQ(tree.getIdx(-1), -1);
    EXPECT_TRUE(support::aborts_on("i<nhap", [&] { tree.getIdx(3); }));
}

// ---- means

TEST(UpdateMeans, OfBothHalves) {
    genhap_set set;
    set.vecH = support::haplotypes(
        {"10000000 00000000", "10000000 10000000", "00000000 10000000", "00000000 00000000"});
    haplotypeCluster tree = bare_tree(set, 0, 16);
    tree.branch = numbers(4);
    tree.assign = {3, 3, 7, 3};
    std::pair<int, int> sizes;
    EXPECT_EQ(tree.updateMeans({3, 7}, sizes), 0);
    EXPECT_EQ(sizes, std::pair(3, 1));
    EXPECT_EQ(tree.mu, (std::vector<std::vector<float>>{{2.0F / 3.0F, 1.0F / 3.0F}, {0.0F, 1.0F}}));
}

TEST(UpdateMeans, EmptyHalfHasNoMean) {
    genhap_set set;
    set.vecH = support::haplotypes({"10000000"});
    haplotypeCluster tree = bare_tree(set, 0, 8);
    tree.branch = {0};
    std::pair<int, int> sizes;
    tree.updateMeans({0, 1}, sizes);
    EXPECT_EQ(sizes, std::pair(1, 0));
    EXPECT_EQ(tree.mu[0][0], 1.0F);
    EXPECT_TRUE(std::isnan(tree.mu[1][0]));
}

TEST(UpdateMean, OfOneClusterOverAllLoci) {
    genhap_set set;
    set.vecH = support::haplotypes({"10000001", "10000000", "11111111"});
    haplotypeCluster tree = bare_tree(set, 0, 8);
    tree.assign = {4, 4, 2};
    EXPECT_EQ(tree.updateMean(4), 2);
    EXPECT_EQ(tree.mu[0], (std::vector<float>{1, 0, 0, 0, 0, 0, 0, 0.5F}));
}

// ---- lists of the closest

TEST(ClosestN, FirstMembersThenOnlyFartherOnes) {
    // Distances to a mean of 0 are the numbers of set bytes: 1, 3, 0, 2, 4, 3 for haplotypes 0 to 5.
    const std::string set_byte = "10000000", zero = "00000000";
    genhap_set set;
    for (const int n : {1, 3, 0, 2, 4, 3}) {
        std::string text;
        for (int j = 0; j < 4; ++j) text += j < n ? set_byte : zero;
        set.vecH.push_back(support::haplotype(text));
    }
    haplotypeCluster tree = bare_tree(set, 0, 32);
    tree.mu = {std::vector<float>(4, 0.0F), std::vector<float>(4, 0.0F)};
    tree.wipedlook();
    tree.branch = numbers(6);
    using list = std::vector<std::pair<int, float>>;
    list out;
    EXPECT_EQ(tree.closestN(3, 0, out), 0);
    // 0, 1, 2 fill it; 3 is nearer than the farthest, 4 takes the place of 1, 5 is nearer than 4.
    EXPECT_EQ(out, (list{{0, 1.0F}, {4, 4.0F}, {2, 0.0F}}));
    out = {{9, 9.0F}, {9, 9.0F}, {9, 9.0F}, {9, 9.0F}};
    tree.branch = {2, 0};
    tree.closestN(4, 0, out);
    EXPECT_EQ(out, (list{{2, 0.0F}, {0, 1.0F}, {9, 9.0F}, {9, 9.0F}})) << "the rest stays as it was";
    tree.branch.clear();
    out.clear();
    tree.closestN(2, 0, out);
    EXPECT_EQ(out, (list{{0, 0.0F}, {0, 0.0F}}));
}

TEST(TerminateBranch, ListIsAlwaysFull) {
    genhap_set set;
    set.vecH = support::haplotypes({"00000000", "00000000", "00000000", "00000000"});
    haplotypeCluster tree = bare_tree(set, 0, 8);
    tree.mu = {{0.0F}, {0.0F}};
    tree.wipedlook();
    tree.cond_size = 3;
    tree.branch = {1, 2, 3};
    tree.terminateBranch(0, 5);
    EXPECT_EQ(tree.clusters[5], (std::vector<int>{1, 2, 3}));
    tree.branch = {0};
    tree.terminateBranch(1, 8);
    EXPECT_EQ(tree.clusters[8], (std::vector<int>{0, 2, 3})) << "the tail of the branch before";
    EXPECT_EQ(tree.assign, std::vector<int>(4, 0)) << "assignments stay";
}

// ---- the whole tree against a plain twin

class plain_tree {
  public:
    plain_tree(const std::vector<std::string>& haplotypes, int first_locus, int n_loci, int cond, int least,
               plain_generator& generator)
        : assign(haplotypes.size(), 0),
          H(haplotypes),
          start8(first_locus),
          n_bytes(n_loci / 8),
          cond_size(cond),
          min_size(least),
          random(generator) {}

    void build() {
        const auto [first, second] = split(0, 1);
        clusters.clear();
        grow(0, first, 1);
        grow(1, second, 1);
        for (auto& [number, members] : clusters)
            while (static_cast<int>(members.size()) < cond_size) {
                const int h = static_cast<int>(random.draw() * static_cast<double>(H.size()));
                if (assign[h] != number) members.push_back(h);
            }
    }

    std::map<int, std::vector<int>> clusters;
    std::vector<int> assign;

  private:
    int allele(int h, int j) const { return H[h][start8 + 8 * j + thin] - '0'; }

    int difference(int a, int b) const {
        int n = 0;
        for (int j = 0; j < n_bytes; ++j) n += allele(a, j) != allele(b, j);
        return n;
    }

    float distance(int h, int m) const {
        float sum = 0.0F;
        for (int j = 0; j < n_bytes; ++j) {
            const float d = mean_in_use[m][j] - static_cast<float>(allele(h, j));
            sum += d * d;
        }
        return sum;
    }

    int draw_member() { return branch[static_cast<int>(random.draw() * static_cast<double>(branch.size()))]; }

    std::pair<int, int> split(int c, int id2) {
        thin = static_cast<int>(random.draw() * 8);
        branch.clear();
        for (int h = 0; h < static_cast<int>(H.size()); ++h)
            if (assign[h] == c) branch.push_back(h);
        const int n = static_cast<int>(branch.size());
        if (n < 2) return {n, 0};
        std::set<int> seen;
        const auto draw_two = [&] {
            const int a = draw_member();
            int b = draw_member();
            seen.insert({a, b});
            while (b == a) b = draw_member();
            return std::pair(a, b);
        };
        auto [idx1, idx2] = draw_two();
        int best = difference(idx1, idx2);
        for (int round = 1;; ++round) {
            const auto [tmp1, tmp2] = draw_two();
            const int d = difference(tmp1, tmp2);
            if (d > best) {
                best = d;
                idx1 = tmp1;
                idx2 = tmp2;
            }
            if (static_cast<int>(seen.size()) == n) return {n, 0};
            if (round >= 100 && best != 0) break;
        }
        std::vector<std::vector<float>> mean(2);
        for (int j = 0; j < n_bytes; ++j) {
            mean[0].push_back(static_cast<float>(allele(idx1, j)));
            mean[1].push_back(static_cast<float>(allele(idx2, j)));
        }
        std::pair<int, int> sizes;
        for (int iteration = 0; iteration < 20; ++iteration) {
            mean_in_use = mean;
            bool changed = false;
            for (const int h : branch) {
                const int number = distance(h, 1) > distance(h, 0) ? c : id2;
                changed = changed || assign[h] != number;
                assign[h] = number;
            }
            sizes = {0, 0};
            mean.assign(2, std::vector<float>(n_bytes, 0.0F));
            for (const int h : branch) {
                const int m = assign[h] == c ? 0 : 1;
                ++(m == 0 ? sizes.first : sizes.second);
                for (int j = 0; j < n_bytes; ++j) mean[m][j] += static_cast<float>(allele(h, j));
            }
            for (int j = 0; j < n_bytes; ++j) {
                mean[0][j] /= static_cast<float>(sizes.first);
                mean[1][j] /= static_cast<float>(sizes.second);
            }
            if (!changed) break;
        }
        return sizes;
    }

    void grow(int c, int n, int level) {
        const int id2 = c + (1 << (level + 1));
        const auto [first, second] = split(c, id2);
        if (first < min_size || second < min_size) {
            clusters[c] = branch;
            for (const int h : branch) assign[h] = c;
            return;
        }
        ASSERT_EQ(first + second, n);
        if (first <= cond_size) close(0, c);
        if (second <= cond_size) close(1, id2);
        if (first > cond_size) grow(c, first, level + 1);
        if (second > cond_size) grow(id2, second, level + 1);
    }

    /// The first members of the branch, of which later ones replace the farthest when they are farther still.
    void close(int m, int c) {
        list.resize(cond_size);
        const int n = static_cast<int>(branch.size());
        for (int place = 0; place < std::min(n, cond_size); ++place)
            list[place] = {branch[place], distance(branch[place], m)};
        // The first of the farthest, known by its place: a newcomer stays the farthest from then on.
        int farthest = 0;
        for (int place = 1; place < std::min(n, cond_size); ++place)
            if (list[place].second > list[farthest].second) farthest = place;
        for (int later = cond_size; later < n; ++later)
            if (distance(branch[later], m) > list[farthest].second)
                list[farthest] = {branch[later], distance(branch[later], m)};
        clusters[c].clear();
        for (const auto& [h, d] : list) clusters[c].push_back(h);
    }

    const std::vector<std::string>& H;
    int start8, n_bytes, cond_size, min_size;
    plain_generator& random;
    int thin = 0;
    std::vector<int> branch;
    std::vector<std::vector<float>> mean_in_use;  // as the last assignments saw them
    std::vector<std::pair<int, float>> list;      // keeps its tail from branch to branch
};

TEST(HaplotypeClusterTree, AgreesWithThePlainTwin) {
    std::mt19937 random(1);
    int n_refused = 0, n_closed = 0;
    for (int trial = 0; trial < 60; ++trial) {
        const int n = 200 + static_cast<int>(random() % 500), n_loci = 40 + static_cast<int>(random() % 150);
        // Haplotypes around a few founders, so that there is something to find.
        std::vector<std::string> founders, texts;
        for (int f = 0; f < 6; ++f) founders.push_back(support::random_alleles(n_loci, random));
        genhap_set set;
        for (int h = 0; h < n; ++h) {
            texts.push_back(founders[random() % founders.size()]);
            for (char& allele : texts.back())
                if (random() % 10 == 0) allele = allele == '0' ? '1' : '0';
            set.vecH.push_back(support::haplotype(texts.back()));
        }
        const int a = static_cast<int>(random() % 20), b = n_loci - static_cast<int>(random() % 10);
        const int K = 1 + static_cast<int>(random() % 12);
        const float size = static_cast<float>(random() % 150) + 0.5F;
        const int start8 = a / 8 * 8, span = b / 8 * 8 - start8;
        plain_generator generator(trial);
        plain_tree plain(texts, start8, span, std::max(K, static_cast<int>(size)), K, generator);
        plain.build();
        haplotypeCluster tree(&set);
        putils::initRandom(trial);
        tree.build(a, b, size, 1.0F, K);
        ASSERT_EQ(tree.clusters, plain.clusters) << "trial " << trial;
        ASSERT_EQ(tree.assign, plain.assign) << "trial " << trial;
        ASSERT_EQ(putils::getRandom(), generator.draw()) << "trial " << trial;
        for (const auto& [number, members] : tree.clusters)
            ++(static_cast<int>(members.size()) > tree.cond_size ? n_refused : n_closed);
    }
    EXPECT_GT(n_closed, 100);
    EXPECT_GT(n_refused, 100);
}

TEST(HaplotypeClusterTree, SecondBuildReplacesTheFirst) {
    std::mt19937 random(2);
    genhap_set set;
    for (int h = 0; h < 200; ++h) set.vecH.push_back(support::haplotype(support::random_alleles(64, random)));
    haplotypeCluster once(&set), twice(&set);
    putils::initRandom(1);
    twice.build(0, 32, 10.0F, 1.0F, 3);
    putils::initRandom(2);
    twice.build(0, 64, 10.0F, 1.0F, 3);
    putils::initRandom(2);
    once.build(0, 64, 10.0F, 1.0F, 3);
    EXPECT_EQ(twice.assign, once.assign);
    std::vector<int> numbers_once, numbers_twice;
    for (const auto& entry : once.clusters) numbers_once.push_back(entry.first);
    for (const auto& entry : twice.clusters) numbers_twice.push_back(entry.first);
    EXPECT_EQ(numbers_twice, numbers_once);
}

TEST(HaplotypeClusterTree, SetThatTheDrawsCoverAborts) {
    // Two hundred draws see all of twenty haplotypes, so the first split is refused.
    EXPECT_TRUE(support::aborts_on("n.first>0&&n.second>0", [] {
        std::mt19937 random(2);
        genhap_set set;
        for (int h = 0; h < 20; ++h)
            set.vecH.push_back(support::haplotype(support::random_alleles(64, random)));
        putils::initRandom(1);
        haplotypeCluster(&set).build(0, 64, 5.0F, 1.0F, 2);
    }));
}

TEST(Kmeans, BranchOfTwoIsNotSplit) {
    genhap_set set;
    set.vecH = support::haplotypes({"11111111", "00000000"});
    haplotypeCluster tree = bare_tree(set, 0, 8);
    putils::initRandom(1);
    EXPECT_EQ(tree.kmeans(0, 1), std::pair(2, 0));
    EXPECT_EQ(tree.assign, (std::vector<int>{0, 0}));
}

TEST(Kmeans, BranchOfOneOrNoneEnds) {
    genhap_set set;
    set.vecH = support::haplotypes({"11111111", "00000000"});
    haplotypeCluster tree = bare_tree(set, 0, 8);
    tree.assign = {3, 0};
    EXPECT_EQ(tree.kmeans(3, 2), std::pair(1, 0));
    EXPECT_EQ(tree.kmeans(9, 2), std::pair(0, 0));
}

TEST(Kmeans, UniformBranchIsSeenThroughAndNotSplit) {
    genhap_set set;
    for (int h = 0; h < 40; ++h) set.vecH.push_back(support::haplotype("01100110 01010101"));
    haplotypeCluster tree = bare_tree(set, 0, 16);
    putils::initRandom(1);
    EXPECT_EQ(tree.kmeans(0, 0), std::pair(40, 0));
}

TEST(Kmeans, TwoKindsFallApart) {
    genhap_set set;
    for (int h = 0; h < 1000; ++h)
        set.vecH.push_back(support::haplotype(h % 4 == 0 ? "11111111 11111111" : "00000000 00000000"));
    haplotypeCluster tree = bare_tree(set, 0, 16);
    putils::initRandom(1);
    const auto [first, second] = tree.kmeans(0, 3);
    EXPECT_EQ(first + second, 1000);
    EXPECT_EQ(std::min(first, second), 250);
    for (int h = 0; h < 1000; ++h) {
        EXPECT_EQ(tree.assign[h], tree.assign[h % 4]);
        EXPECT_TRUE(tree.assign[h] == 0 || tree.assign[h] == 8) << "0 and 0 + 2^3";
    }
    EXPECT_NE(tree.assign[0], tree.assign[1]);
}

// ---- seeding and summary

TEST(Kplusplus, SeedsLieApart) {
    genhap_set set;
    for (int h = 0; h < 30; ++h)
        set.vecH.push_back(support::haplotype(h % 3 == 0   ? "00000000 00000000"
                                              : h % 3 == 1 ? "11111111 00000000"
                                                           : "11111111 11111111"));
    const haplotypeCluster tree = bare_tree(set, 0, 15);
    for (int seed = 1; seed <= 10; ++seed) {
        putils::initRandom(seed);
        std::vector<int> seeds = {7};
        EXPECT_EQ(tree.kplusplus(3, seeds), 0);
        ASSERT_EQ(seeds.size(), 3U);
        std::set<int> kinds;
        for (const int h : seeds) kinds.insert(h % 3);
        EXPECT_EQ(kinds.size(), 3U) << "seed " << seed;
        const std::vector<int> members = {3, 6, 9, 12, 4, 7, 10};
        EXPECT_EQ(tree.kplusplus(2, seeds, members), 0);
        ASSERT_EQ(seeds.size(), 2U);
        for (const int h : seeds) EXPECT_NE(std::find(members.begin(), members.end(), h), members.end());
        EXPECT_NE(seeds[0] % 3, seeds[1] % 3);
    }
}

// The byte of `stop` lies behind the span, and at the chromosome's end behind the haplotype: the distances
// must leave it out.
TEST(Kplusplus, DistancesEndWithTheSpan) {
    genhap_set set;
    for (int h = 0; h < 30; ++h)
        set.vecH.push_back(support::haplotype(h % 3 == 0   ? "00000000 00000000"
                                              : h % 3 == 1 ? "00000000 11111111"
                                                           : "11100000 00000000"));
    const haplotypeCluster tree = bare_tree(set, 0, 8);
    for (int seed = 1; seed <= 10; ++seed) {
        putils::initRandom(seed);
        std::vector<int> seeds;
        tree.kplusplus(2, seeds);
        EXPECT_NE(seeds[0] % 3 == 2, seeds[1] % 3 == 2) << "only the third kind differs within the span";
    }
}

TEST(SummariseKmeans, PrintsNumberAndSizes) {
    const support::log_capture capture;
    const genhap_set set;
    haplotypeCluster tree(&set);
    tree.nhap = 20;
    tree.clusters = {{0, {1, 2, 3}}, {4, {5, 6, 7, 8, 9, 10}}, {1, {11, 12}}};
    tree.summariseKmeans();
    EXPECT_EQ(capture.console(), "3 clusters.\nMax: 6\n\tMin: 2\n\tMean: 3\n");
    EXPECT_EQ(capture.log(), "");
}

}  // namespace
