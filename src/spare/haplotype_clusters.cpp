#include "spare/haplotype_clusters.h"

#include <algorithm>
#include <limits>
#include <ostream>

#include "selection/two_means.h"
#include "utils/assertion.h"

namespace spare {

namespace {

constexpr int SEED_CANDIDATES = 100;

/// Hamming distance to the nearest of the seeds.
int nearest_seed(const std::vector<chaplotype>& H, locus_span span, int h, const std::vector<int>& seeds) {
    int nearest = std::numeric_limits<int>::max();
    for (const int seed : seeds)
        nearest =
            std::min(nearest, H[h].hamming(H[seed], span.first_locus, span.first_locus + span.n_loci - 1));
    return nearest;
}

}  // namespace

std::set<int> sampleIndex(int n, int max, random_source& random) {
    std::set<int> drawn;
    for (int i = 0; i < n; ++i) drawn.insert(random.draw_below(max));
    return drawn;
}

std::vector<int> set2vec(const std::set<int>& s) {
    return {s.begin(), s.end()};
}

std::vector<int> kplusplus(const std::vector<chaplotype>& H, locus_span span, int K,
                           const std::vector<int>& members, random_source& random) {
    std::vector<int> seeds;
    for (int s = 0; s < K; ++s) {
        const std::vector<int> candidates =
            set2vec(sampleIndex(SEED_CANDIDATES, static_cast<int>(members.size()), random));
        int seed = members[candidates.front()], largest = -1;
        for (std::size_t i = 0; s > 0 && i < candidates.size(); ++i) {
            const int distance = nearest_seed(H, span, members[candidates[i]], seeds);
            if (distance > largest) {
                largest = distance;
                seed = members[candidates[i]];
            }
        }
        seeds.push_back(seed);
    }
    return seeds;
}

std::vector<float> hap2float(const chaplotype& h, locus_span span) {
    std::vector<float> alleles(span.n_loci);
    for (int l = 0; l < span.n_loci; ++l) alleles[l] = static_cast<float>(h.get(span.first_locus + l));
    return alleles;
}

std::vector<float> allele_frequencies(const std::vector<chaplotype>& H, const std::vector<int>& members,
                                      locus_span span) {
    std::vector<float> frequencies(span.n_loci, 0.0F);
    for (const int h : members)
        for (int l = 0; l < span.n_loci; ++l)
            frequencies[l] += static_cast<float>(H[h].get(span.first_locus + l));
    for (float& frequency : frequencies) frequency /= static_cast<float>(members.size());
    return frequencies;
}

float squared_distance(const chaplotype& h, const std::vector<float>& mean, locus_span span) {
    float sum = 0.0F;
    for (int l = 0; l < span.n_loci; ++l) {
        const float difference = mean[l] - static_cast<float>(h.get(span.first_locus + l));
        sum += difference * difference;
    }
    return sum;
}

void top_up_closest(const std::vector<chaplotype>& H, locus_span span, const std::vector<int>& assign, int n,
                    cluster_map& clusters) {
    for (auto& [number, members] : clusters) {
        TOLVANE_ASSERT(!members.empty(), "it->second.size()>0");
        const int lacking = n - static_cast<int>(members.size());
        if (lacking <= 0) continue;
        std::vector<int> inside, outside;
        for (int h = 0; h < static_cast<int>(H.size()); ++h) {
            if (assign[h] == number)
                inside.push_back(h);
            else
                outside.push_back(h);
        }
        const std::vector<float> mean = allele_frequencies(H, inside, span);
        std::vector<float> distances;
        for (const int h : outside) distances.push_back(squared_distance(H[h], mean, span));
        std::vector<std::pair<int, float>> closest;
        take_closest(outside, distances, lacking, closest);
        for (const auto& [h, distance] : closest) members.push_back(h);
    }
}

void summariseKmeans(const cluster_map& clusters, int n_haplotypes, std::ostream& out) {
    int largest = 0, smallest = n_haplotypes;
    long total = 0;
    for (const auto& [number, members] : clusters) {
        const int size = static_cast<int>(members.size());
        largest = std::max(largest, size);
        smallest = std::min(smallest, size);
        total += size;
    }
    const long mean = clusters.empty() ? 0 : total / static_cast<long>(clusters.size());
    out << clusters.size() << " clusters.\nMax: " << largest << "\n\tMin: " << smallest
        << "\n\tMean: " << mean << std::endl;
}

}  // namespace spare
