#include "selection/two_means.h"

#include "utils/assertion.h"

namespace {

constexpr int LEAST_ROUNDS = 100;

/// Draws two different members. Of the draws for the second one, only the first is added to `seen`.
std::pair<int, int> draw_pair(const std::vector<int>& branch, std::set<int>& seen, random_source& random) {
    const int n = static_cast<int>(branch.size());
    const int first = branch[random.draw_below(n)];
    seen.insert(first);
    int second = branch[random.draw_below(n)];
    seen.insert(second);
    while (second == first) second = branch[random.draw_below(n)];
    return {first, second};
}

}  // namespace

int thinned_loci::hamming(int a, int b) const {
    int distance = 0;
    for (int j = 0; j < n_loci; ++j) distance += allele(a, j) != allele(b, j);
    return distance;
}

bool draw_distant_pair(const std::vector<int>& branch, const thinned_loci& loci, random_source& random,
                       std::pair<int, int>& seeds) {
    if (branch.size() < 2) return false;  // there is no pair to draw
    std::set<int> seen;
    seeds = draw_pair(branch, seen, random);
    int best = loci.hamming(seeds.first, seeds.second);
    for (int round = 1;; ++round) {
        const std::pair<int, int> pair = draw_pair(branch, seen, random);
        const int d = loci.hamming(pair.first, pair.second);
        if (best < d) {
            best = d;
            seeds = pair;
        }
        if (seen.size() == branch.size()) return false;
        if (round >= LEAST_ROUNDS && best != 0) break;
    }
    TOLVANE_ASSERT(seeds.first != seeds.second, "idx1!=idx2");
    return true;
}

two_means::two_means(const thinned_loci& loci, std::pair<int, int> seeds) : thinned(loci) {
    for (int m = 0; m < 2; ++m)
        for (int j = 0; j < thinned.size(); ++j)
            mu[m].push_back(static_cast<float>(thinned.allele(m == 0 ? seeds.first : seeds.second, j)));
    tabulate_distances();
}

void two_means::tabulate_distances() {
    for (int m = 0; m < 2; ++m) {
        squared_distances[m].resize(2 * mu[m].size());
        for (int j = 0; j < thinned.size(); ++j)
            for (int allele = 0; allele < 2; ++allele) {
                const float difference = mu[m][j] - static_cast<float>(allele);
                squared_distances[m][2 * j + allele] = difference * difference;
            }
    }
}

float two_means::distance(int h, int m) const {
    float sum = 0.0F;
    for (int j = 0; j < thinned.size(); ++j) sum += squared_distances[m][2 * j + thinned.allele(h, j)];
    return sum;
}

half_sums& half_sums::operator+=(const half_sums& other) {
    for (int m = 0; m < 2; ++m) {
        n_members[m] += other.n_members[m];
        for (std::size_t j = 0; j < alleles[m].size(); ++j) alleles[m][j] += other.alleles[m][j];
    }
    return *this;
}

void two_means::add(int h, int m, half_sums& sums) const {
    ++sums.n_members[m];
    for (int j = 0; j < thinned.size(); ++j) sums.alleles[m][j] += thinned.allele(h, j);
}

void two_means::update(const half_sums& sums) {
    for (int m = 0; m < 2; ++m)
        for (int j = 0; j < thinned.size(); ++j)
            mu[m][j] = static_cast<float>(sums.alleles[m][j]) / static_cast<float>(sums.n_members[m]);
    tabulate_distances();
}

void take_closest(const std::vector<int>& branch, const std::vector<float>& distances, int n,
                  std::vector<std::pair<int, float>>& out) {
    out.resize(n);
    float worst = -1.0F;
    int worst_place = -1;
    for (int i = 0; i < static_cast<int>(branch.size()); ++i) {
        const std::pair<int, float> member = {branch[i], distances[i]};
        const bool filling = i < n;
        if (member.second > worst) {
            worst = member.second;
            if (filling) worst_place = i;
            // A later member replaces only the farthest entry, and only if it is farther still.
            if (!filling && worst_place >= 0) out[worst_place] = member;
        }
        if (filling) out[i] = member;
    }
}
