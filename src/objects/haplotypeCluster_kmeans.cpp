#include <algorithm>
#include <iostream>
#include <limits>

#include "containers/genhap_set.h"
#include "objects/haplotypeCluster.h"
#include "utils/assertion.h"
#include "utils/putils.h"

namespace {

constexpr int LEAST_SEED_ROUNDS = 100;
constexpr int SEED_CANDIDATES = 100;
constexpr int DEEPEST_LEVEL = 30;  // beyond it a cluster's number would not fit an int

}  // namespace

int haplotypeCluster::bifurc_kmeans() {
    assign.assign(nhap, 0);
    const std::pair<int, int> n = kmeans(0, 0);
    TOLVANE_ASSERT(n.first > 0 && n.second > 0, "n.first>0&&n.second>0");
    clusters.clear();
    bifurc_kmeans(0, n.first, 1);
    bifurc_kmeans(1, n.second, 1);
    return static_cast<int>(clusters.size());
}

int haplotypeCluster::bifurc_kmeans(unsigned int c, int n, int level) {
    const int id = static_cast<int>(c);
    if (level + 1 > DEEPEST_LEVEL) {
        take_branch(c);
        make_leaf(id);
        return n;
    }
    const auto [first, second] = kmeans(c, level + 1);
    if (first < min_size || second < min_size) {
        make_leaf(id);
        return n;
    }
    const unsigned int c2_number = c + (1U << (level + 1));
    // Closing a branch reads the means of this split, so it comes before any further split.
    if (first <= cond_size) terminateBranch(0, id);
    if (second <= cond_size) terminateBranch(1, static_cast<int>(c2_number));
    if (first > cond_size) bifurc_kmeans(c, first, level + 1);
    if (second > cond_size) bifurc_kmeans(c2_number, second, level + 1);
    return n;
}

/// Makes the whole branch in hand cluster `c`.
void haplotypeCluster::make_leaf(int c) {
    clusters[c] = branch;
    for (const int h : branch) assign[h] = c;
}

void haplotypeCluster::take_branch(unsigned int c) {
    branch.clear();
    for (int h = 0; h < nhap; ++h)
        if (assign[h] == static_cast<int>(c)) branch.push_back(h);
}

std::pair<int, int> haplotypeCluster::kmeans(unsigned int c, int level) {
    thin_offset = putils::getRandom(8);
    const unsigned int id2 = c + (1U << level);
    take_branch(c);
    const std::pair<int, int> unsplit(static_cast<int>(branch.size()), 0);
    std::pair<int, int> seeds;
    if (!seed_means(seeds)) return unsplit;
    mu = {thinned_alleles(seeds.first), thinned_alleles(seeds.second)};

    std::pair<int, int> cluster_size;
    for (int iteration = 0; iteration < max_iter; ++iteration) {
        wipedlook();
        int n_changed = 0;
        for (const int h : branch) {
            const int number =
                static_cast<int>(euc(h, 1) > euc(h, 0) ? c : id2);  // a tie goes to the second half
            n_changed += assign[h] != number;
            assign[h] = number;
        }
        updateMeans({c, id2}, cluster_size);
        if (n_changed == 0) break;
    }
    TOLVANE_ASSERT(cluster_size.first > 0 || cluster_size.second > 0,
                   "cluster_size.first>0 || cluster_size.second>0");
    return cluster_size;
}

/// Looks for two members far apart among random pairs. False when the draws have covered the whole branch,
/// which is then too small or too uniform to be split.
bool haplotypeCluster::seed_means(std::pair<int, int>& seeds) const {
    if (branch.size() < 2) return false;  // has no pair to draw
    std::set<int> seen;
    seeds = draw_pair(seen, "idx1>=0 && idx2>=0");
    int best = ham(seeds.first, seeds.second);
    for (int round = 1;; ++round) {
        const std::pair<int, int> pair = draw_pair(seen, "tmp1>=0 && tmp2>=0");
        const int d = ham(pair.first, pair.second);
        if (best < d) {
            best = d;
            seeds = pair;
        }
        if (seen.size() == branch.size()) return false;
        if (round >= LEAST_SEED_ROUNDS && best != 0) break;
    }
    TOLVANE_ASSERT(seeds.first != seeds.second, "idx1!=idx2");
    return true;
}

/// Two different members. Only the first draw of the second one counts as seen.
std::pair<int, int> haplotypeCluster::draw_pair(std::set<int>& seen, const char* promise) const {
    const int n = static_cast<int>(branch.size());
    const int first = getIdx(putils::getRandom(n));
    seen.insert(first);
    int second = getIdx(putils::getRandom(n));
    seen.insert(second);
    TOLVANE_ASSERT(first >= 0 && second >= 0, promise);
    while (second == first) second = getIdx(putils::getRandom(n));
    return {first, second};
}

int haplotypeCluster::terminateBranch(int m, int c) {
    // A branch of fewer members leaves the rest of the list as the branch before filled it. The list is used
    // as a set, and its members keep `assign`, so this only widens a scan.
    closestN(cond_size, m, closest);
    std::vector<int>& members = clusters[c];
    members.clear();
    for (const auto& [h, distance] : closest) members.push_back(h);
    return 0;
}

int haplotypeCluster::closestN(int n, int m, std::vector<std::pair<int, float>>& out) {
    out.resize(n);
    float worst = -1.0F;
    int worst_place = -1, count = 0;
    for (const int h : branch) {
        const float distance = euc(h, m);
        const bool filling = count < n;
        if (distance > worst) {
            worst = distance;
            if (filling) worst_place = count;
            // Later members displace only the farthest entry, and only when they lie farther still.
            if (!filling && worst_place >= 0) out[worst_place] = {h, distance};
        }
        if (filling) out[count] = {h, distance};
        ++count;
    }
    return 0;
}

int haplotypeCluster::updateMeans(const std::pair<unsigned int, unsigned int>& ids,
                                  std::pair<int, int>& sizes) {
    mu.assign(n_means, std::vector<float>(n_thinned(), 0.0F));
    sizes = {0, 0};
    for (const int h : branch) {
        const bool in_first = assign[h] == static_cast<int>(ids.first);
        std::vector<float>& mean = mu[in_first ? 0 : 1];
        for (int j = 0; j < n_thinned(); ++j) mean[j] += static_cast<float>(thinned_allele(h, j));
        ++(in_first ? sizes.first : sizes.second);
    }
    for (float& x : mu[0]) x /= static_cast<float>(sizes.first);
    for (float& x : mu[1]) x /= static_cast<float>(sizes.second);
    return 0;
}

int haplotypeCluster::updateMean(unsigned int c) {
    mu.assign(n_means, std::vector<float>(span, 0.0F));
    int n_members = 0;
    for (int h = 0; h < nhap; ++h) {
        if (assign[h] != static_cast<int>(c)) continue;
        for (int l = 0; l < span; ++l) mu[0][l] += static_cast<float>(GH->vecH[h].get(start8 + l));
        ++n_members;
    }
    for (float& x : mu[0]) x /= static_cast<float>(n_members);
    return n_members;
}

int haplotypeCluster::wipedlook() {
    dlook.assign(n_means, std::vector<float>(2 * n_thinned()));
    for (int m = 0; m < n_means; ++m)
        for (int j = 0; j < n_thinned(); ++j)
            for (int allele = 0; allele < 2; ++allele) {
                const float difference = mu[m][j] - static_cast<float>(allele);
                dlook[m][2 * j + allele] = difference * difference;
            }
    return 0;
}

int haplotypeCluster::thinned_allele(int h, int j) const {
    return (GH->vecH[h].data[start8 / 8 + j] >> thin_offset) & 1;
}

std::vector<float> haplotypeCluster::thinned_alleles(int h) const {
    std::vector<float> alleles(n_thinned());
    for (int j = 0; j < n_thinned(); ++j) alleles[j] = static_cast<float>(thinned_allele(h, j));
    return alleles;
}

int haplotypeCluster::hap2float(int h, std::vector<float>& v) const {
    v.resize(span);
    for (int l = 0; l < span; ++l) v[l] = static_cast<float>(GH->vecH[h].get(start8 + l));
    return 0;
}

int haplotypeCluster::ham(int i, int j) const {
    int distance = 0;
    for (int byte = 0; byte < n_thinned(); ++byte)
        distance += thinned_allele(i, byte) != thinned_allele(j, byte);
    return distance;
}

float haplotypeCluster::euc(int i, int m) const {
    float sum = 0.0F;
    for (int j = 0; j < n_thinned(); ++j) sum += dlook[m][2 * j + thinned_allele(i, j)];
    return sum;
}

float haplotypeCluster::euc(int i, const std::vector<float>& mean) const {
    float sum = 0.0F;
    for (int l = 0; l < span; ++l) {
        const float difference = mean[l] - static_cast<float>(GH->vecH[i].get(start8 + l));
        sum += difference * difference;
    }
    return sum;
}

int haplotypeCluster::getIdx(int i) const {
    if (i < 0) return -1;
    TOLVANE_ASSERT(i < static_cast<int>(branch.size()), "i<nhap");
    return branch[i];
}

/// Seeds out of `n` haplotypes, the i-th of which is member(i).
template <class Member>
void haplotypeCluster::spread_seeds(int K, int n, std::vector<int>& seeds, Member member) const {
    seeds.clear();
    for (int s = 0; s < K; ++s) {
        const std::vector<int> candidates = set2vec(sampleIndex(SEED_CANDIDATES, n));
        int seed = member(candidates.front()), largest = -1;
        for (std::size_t i = 0; s > 0 && i < candidates.size(); ++i) {
            int nearest = std::numeric_limits<int>::max();
            for (const int earlier : seeds)
                nearest = std::min(
                    nearest, GH->vecH[member(candidates[i])].hamming(GH->vecH[earlier], start8, stop8 - 1));
            if (nearest > largest) {
                largest = nearest;
                seed = member(candidates[i]);
            }
        }
        seeds.push_back(seed);
    }
}

int haplotypeCluster::kplusplus(int K, std::vector<int>& seeds) const {
    spread_seeds(K, nhap, seeds, [](int i) { return i; });
    return 0;
}

int haplotypeCluster::kplusplus(int K, std::vector<int>& seeds, const std::vector<int>& members) const {
    spread_seeds(K, static_cast<int>(members.size()), seeds, [&members](int i) { return members[i]; });
    return 0;
}

int haplotypeCluster::summariseKmeans() const {
    int largest = 0, smallest = nhap;
    long total = 0;
    for (const auto& [number, members] : clusters) {
        const int size = static_cast<int>(members.size());
        largest = std::max(largest, size);
        smallest = std::min(smallest, size);
        total += size;
    }
    const long mean = clusters.empty() ? 0 : total / static_cast<long>(clusters.size());
    std::cout << clusters.size() << " clusters.\nMax: " << largest << "\n\tMin: " << smallest
              << "\n\tMean: " << mean << std::endl;
    return 0;
}
