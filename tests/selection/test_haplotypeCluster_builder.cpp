#include "selection/haplotypeCluster_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <set>

#include "support/child_process.h"
#include "support/haplotype_text.h"
#include "support/plain_generator.h"

namespace {

using support::aborts_on;
using support::plain_generator;

std::vector<chaplotype> random_haplotypes(int n, int n_loci, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<chaplotype> H;
    for (int h = 0; h < n; ++h) H.push_back(support::haplotype(support::random_alleles(n_loci, random)));
    return H;
}

/// Builds one tree with its own random source.
haplotypeCluster built(const std::vector<chaplotype>& H, int a, int b, int cluster_size, int least,
                       int seed = 1) {
    worker_team team(1);
    random_source draws(seed);
    return haplotypeCluster_builder(H, cluster_size, least, team).build(a, b, draws);
}

TEST(Build, KeepsItsWindow) {
    const haplotypeCluster tree = built(random_haplotypes(200, 100, 1), 13, 91, 20, 8);
    EXPECT_EQ(tree.start(), 13);
    EXPECT_EQ(tree.stop(), 91);
    EXPECT_EQ(tree.assign().size(), 200U);
}

TEST(Build, ClustersAreFullAndContainTheirMembers) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        for (const auto& [size, least] : {std::pair(15, 5), std::pair(4, 12)}) {
            const haplotypeCluster tree = built(random_haplotypes(150, 64, seed), 0, 64, size, least);
            ASSERT_EQ(tree.assign().size(), 150U);
            for (const auto& [number, members] : tree.clusters()) {
                EXPECT_GE(static_cast<int>(members.size()), std::max(size, least));
                for (const int h : members) {
                    EXPECT_GE(h, 0);
                    EXPECT_LT(h, 150);
                }
            }
            for (int h = 0; h < 150; ++h) EXPECT_TRUE(tree.clusters().contains(tree.assign()[h])) << h;
        }
    }
}

TEST(Build, ToppedUpMembersComeFromOtherClusters) {
    // 40 of 200 haplotypes differ from the others at most loci, so the first split separates them. They are
    // usually too few for another split and then become a cluster of their own, which is filled up to 90. One
    // draw in five hits one of the 40 and must not be used.
    constexpr int N = 200, N_APART = 40, SIZE = 90;
    int n_topped_up = 0;
    for (unsigned seed = 1; seed <= 20; ++seed) {
        std::mt19937 random(seed);
        std::vector<chaplotype> H(N, chaplotype(64U));
        for (int h = 0; h < N; ++h)
            for (int l = 0; l < 64; ++l) H[h].set(l, (h < N_APART) != (random() % 10 == 0));
        const haplotypeCluster tree = built(H, 0, 64, SIZE, 5, static_cast<int>(seed));
        const std::vector<int>& members = tree.clusters().at(tree.assign()[0]);
        std::vector<int> apart(N_APART);
        std::iota(apart.begin(), apart.end(), 0);
        ASSERT_EQ(members.size(), static_cast<std::size_t>(SIZE));
        if (!std::equal(apart.begin(), apart.end(), members.begin())) continue;
        ++n_topped_up;
        for (int i = N_APART; i < SIZE; ++i) EXPECT_GE(members[i], N_APART) << "seed " << seed;
    }
    EXPECT_GE(n_topped_up, 15);
}

TEST(Build, DeepestLevelIsNotSplit) {
    // A hundred haplotypes of zeros, and 34 groups of four that have ones at two bytes of their own. Each
    // split separates one group from all others. There is one split at level 0 and one at each level from 2
    // to 30, so four groups stay with the zeros. Cluster numbers of another level would not fit in an int.
    constexpr int N_ZEROS = 100, N_GROUPS = 34, GROUP = 4, N_LOCI = 16 * N_GROUPS;
    std::vector<chaplotype> H(N_ZEROS + GROUP * N_GROUPS, chaplotype(static_cast<unsigned>(N_LOCI)));
    for (int i = 0; i < GROUP * N_GROUPS; ++i)
        for (int l = 0; l < 16; ++l) H[N_ZEROS + i].set(16 * (i / GROUP) + l, true);
    for (int seed = 1; seed <= 5; ++seed) {
        const haplotypeCluster tree = built(H, 0, N_LOCI, 60, 2, seed);
        EXPECT_EQ(tree.clusters().size(), 31U);
        for (const auto& entry : tree.clusters()) EXPECT_GE(entry.first, 0);
        const auto rest = static_cast<std::size_t>(N_ZEROS + 4 * GROUP);
        EXPECT_EQ(tree.clusters().at(tree.assign()[0]).size(), rest) << "seed " << seed;
    }
}

TEST(Build, ClusterSizeOfAllHaplotypesStopsTheRun) {
    const std::string message =
        "2*nsamples < cluster_size (c1).\n"
        "Note we suggest only using --fast when sample size > 10,000";
    for (const auto& [size, least] : {std::pair(20, 5), std::pair(4000, 5), std::pair(2, 20)})
        EXPECT_TRUE(support::stops_with(
            message, [&, s = size, l = least] { built(random_haplotypes(20, 64, 1), 0, 64, s, l); }))
            << size << ", " << least << " states";
}

TEST(Build, EmptyWindowAborts) {
    EXPECT_TRUE(aborts_on("a<b", [] { built(random_haplotypes(20, 64, 1), 16, 16, 5, 2); }));
}

TEST(Build, WindowWithoutAWholeByteAborts) {
    // All distances are 0, so all haplotypes tie and go to the second half.
    EXPECT_TRUE(
        aborts_on("n.first>0&&n.second>0", [] { built(random_haplotypes(1000, 64, 1), 8, 15, 5, 2); }));
}

TEST(Build, SetCoveredByTheDrawsAborts) {
    // Two hundred draws cover all of twenty haplotypes, so the first split fails.
    EXPECT_TRUE(aborts_on("n.first>0&&n.second>0", [] { built(random_haplotypes(20, 64, 2), 0, 64, 5, 2); }));
}

// ---- the whole tree against a reference implementation

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

    /// The first members of the branch; later ones replace the farthest of them if they are farther still.
    void close(int m, int c) {
        list.resize(cond_size);
        const int n = static_cast<int>(branch.size());
        for (int place = 0; place < std::min(n, cond_size); ++place)
            list[place] = {branch[place], distance(branch[place], m)};
        // The place of the first one at the largest distance: what replaces it is then the farthest.
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
    std::vector<std::vector<float>> mean_in_use;  // as used in the last assignment
    std::vector<std::pair<int, float>> list;      // entries past a short branch persist
};

TEST(Build, AgreesWithReference) {
    std::mt19937 random(1);
    int n_refused = 0, n_closed = 0;
    std::array<worker_team, 2> teams{worker_team(1), worker_team(3)};
    for (int trial = 0; trial < 60; ++trial) {
        const int n = 200 + static_cast<int>(random() % 500), n_loci = 40 + static_cast<int>(random() % 150);
        // Haplotypes derived from a few founders, so that there are clusters to find.
        std::vector<std::string> founders, texts;
        for (int f = 0; f < 6; ++f) founders.push_back(support::random_alleles(n_loci, random));
        for (int h = 0; h < n; ++h) {
            texts.push_back(founders[random() % founders.size()]);
            for (char& allele : texts.back())
                if (random() % 10 == 0) allele = allele == '0' ? '1' : '0';
        }
        const std::vector<chaplotype> H = support::haplotypes(texts);
        const int a = static_cast<int>(random() % 20), b = n_loci - static_cast<int>(random() % 10);
        const int K = 1 + static_cast<int>(random() % 12), size = static_cast<int>(random() % 150);
        const int start8 = a / 8 * 8, span = b / 8 * 8 - start8;
        plain_generator generator(trial);
        plain_tree plain(texts, start8, span, std::max(K, size), K, generator);
        plain.build();
        random_source draws(trial);
        const haplotypeCluster tree =
            haplotypeCluster_builder(H, size, K, teams[trial % 2]).build(a, b, draws);
        ASSERT_EQ(tree.clusters(), plain.clusters) << "trial " << trial;
        ASSERT_EQ(tree.assign(), plain.assign) << "trial " << trial;
        ASSERT_EQ(draws.draw(), generator.draw()) << "trial " << trial;
        for (const auto& [number, members] : tree.clusters())
            ++(static_cast<int>(members.size()) > std::max(K, size) ? n_refused : n_closed);
    }
    EXPECT_GT(n_closed, 100);
    EXPECT_GT(n_refused, 100);
}

// Branches so large that the threads share them.
TEST(Build, ThreadsGiveTheSameTree) {
    const std::vector<chaplotype> H = random_haplotypes(3000, 400, 4);
    worker_team alone(1), team(3);
    random_source one(5), other(5);
    const haplotypeCluster expected = haplotypeCluster_builder(H, 200, 50, alone).build(0, 400, one),
                           tree = haplotypeCluster_builder(H, 200, 50, team).build(0, 400, other);
    EXPECT_EQ(tree.clusters(), expected.clusters());
    EXPECT_EQ(tree.assign(), expected.assign());
    EXPECT_EQ(one.draw(), other.draw());
}

TEST(Build, SecondTreeIsIndependent) {
    const std::vector<chaplotype> H = random_haplotypes(200, 64, 2);
    worker_team team(1);
    haplotypeCluster_builder twice(H, 10, 3, team);
    random_source first(1), second(2);
    twice.build(0, 32, first);
    const haplotypeCluster tree = twice.build(0, 64, second), once = built(H, 0, 64, 10, 3, 2);
    EXPECT_EQ(tree.assign(), once.assign());
    std::vector<int> numbers_once, numbers_twice;
    for (const auto& entry : once.clusters()) numbers_once.push_back(entry.first);
    for (const auto& entry : tree.clusters()) numbers_twice.push_back(entry.first);
    EXPECT_EQ(numbers_twice, numbers_once);
}

}  // namespace
