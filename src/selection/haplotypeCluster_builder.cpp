#include "selection/haplotypeCluster_builder.h"

#include <algorithm>

#include "utils/assertion.h"
#include "utils/lfile.h"

namespace {

constexpr int MOST_ITERATIONS = 20;  // of one split
constexpr int DEEPEST_LEVEL = 30;    // at deeper levels a cluster number would not fit in an int
constexpr int BYTE_LOCI = 8;
constexpr long LEAST_COMPARISONS = 20000;  // of loci, for which another thread is worth its wake-up

}  // namespace

haplotypeCluster_builder::haplotypeCluster_builder(const std::vector<chaplotype>& haplotypes,
                                                   int cluster_size, int least, worker_team& workers)
    : H(haplotypes), team(workers), cond_size(std::max(least, cluster_size)), min_size(least) {}

haplotypeCluster haplotypeCluster_builder::build(int a, int b, random_source& random) {
    TOLVANE_ASSERT(a < b, "a<b");
    if (cond_size >= static_cast<int>(H.size()))
        LOG.error(
            "2*nsamples < cluster_size (c1).\n"
            "Note we suggest only using --fast when sample size > 10,000");
    first_byte = a / BYTE_LOCI;
    n_bytes = b / BYTE_LOCI - first_byte;
    clusters.clear();
    assign.assign(H.size(), 0);
    const auto [first, second] = split(0, 0, random);
    TOLVANE_REQUIRE(
        first > 0 && second > 0, "n.first>0&&n.second>0",
        "The haplotypes of a window could not be split into two clusters: there are too few people, "
        "or too few variants in a window. Use a larger --window, or neither --cluster-size nor "
        "--fast.");
    grow(0, 1, random);
    grow(1, 1, random);
    top_up(random);
    return haplotypeCluster({a, b, cond_size, min_size, std::move(clusters), std::move(assign)});
}

/// Splits cluster `c` at `level`, and its halves in turn.
void haplotypeCluster_builder::grow(unsigned int c, int level, random_source& random) {
    const int id = static_cast<int>(c);
    if (level + 1 > DEEPEST_LEVEL) {
        take_branch(c);
        make_leaf(id);
        return;
    }
    const auto [first, second] = split(c, level + 1, random);
    if (first < min_size || second < min_size) {
        make_leaf(id);
        return;
    }
    const unsigned int c2 = c + (1U << (level + 1));
    // Closing a half reads the means of this split, so it comes before any further split.
    if (first <= cond_size) close_half(0, id);
    if (second <= cond_size) close_half(1, static_cast<int>(c2));
    if (first > cond_size) grow(c, level + 1, random);
    if (second > cond_size) grow(c2, level + 1, random);
}

/// Splits cluster `c` into `c` and `c` + 2^level; returns both sizes, or (n, 0) for a branch too small or too
/// uniform to be split.
std::pair<int, int> haplotypeCluster_builder::split(unsigned int c, int level, random_source& random) {
    const thinned_loci loci(H, first_byte, n_bytes, random.draw_below(BYTE_LOCI));
    const int first_id = static_cast<int>(c), second_id = static_cast<int>(c + (1U << level));
    take_branch(c);
    std::pair<int, int> seeds;
    if (!draw_distant_pair(branch, loci, random, seeds)) return {static_cast<int>(branch.size()), 0};
    halves.emplace(loci, seeds);

    std::pair<int, int> sizes;
    for (int iteration = 0; iteration < MOST_ITERATIONS; ++iteration) {
        half_sums sums(halves->n_loci());
        const bool has_changed = assign_branch(first_id, second_id, sums);
        halves->update(sums);
        sizes = {sums.n_members[0], sums.n_members[1]};
        if (!has_changed) break;
    }
    TOLVANE_ASSERT(sizes.first > 0 || sizes.second > 0, "cluster_size.first>0 || cluster_size.second>0");
    return sizes;
}

/// Assigns each member of the branch to the nearer half, and adds it to its sums. Returns whether any has
/// changed its half.
bool haplotypeCluster_builder::assign_branch(int first_id, int second_id, half_sums& sums) {
    const int n = static_cast<int>(branch.size());
    const long n_comparisons = 2L * n * (halves->n_loci() + 1);
    const int n_parts = static_cast<int>(std::clamp(n_comparisons / LEAST_COMPARISONS, 1L, 4L * team.size()));
    for (std::vector<float>& d : distances) d.resize(n);
    std::vector<half_sums> part_sums(n_parts, half_sums(halves->n_loci()));
    std::vector<unsigned char> has_changed(n_parts, 0);
    team.run(n_parts, [&](int part, int /*worker*/) {
        const auto start = [&](int p) { return static_cast<int>(static_cast<long>(n) * p / n_parts); };
        for (int i = start(part); i < start(part + 1); ++i) {
            const int h = branch[i];
            for (int m = 0; m < 2; ++m) distances[m][i] = halves->distance(h, m);
            // A tie goes to the second half.
            const int half = distances[1][i] > distances[0][i] ? 0 : 1,
                      number = half == 0 ? first_id : second_id;
            if (assign[h] != number) has_changed[part] = 1;
            assign[h] = number;
            halves->add(h, half, part_sums[part]);
        }
    });
    for (const half_sums& part : part_sums) sums += part;
    return std::find(has_changed.begin(), has_changed.end(), 1) != has_changed.end();
}

void haplotypeCluster_builder::take_branch(unsigned int c) {
    branch.clear();
    for (int h = 0; h < static_cast<int>(H.size()); ++h)
        if (assign[h] == static_cast<int>(c)) branch.push_back(h);
}

/// Makes the whole current branch cluster `c`.
void haplotypeCluster_builder::make_leaf(int c) {
    clusters[c] = branch;
    for (const int h : branch) assign[h] = c;
}

/// Closes half `m` of the last split as cluster `c`, a list of exactly cond_size entries.
void haplotypeCluster_builder::close_half(int m, int c) {
    // If the branch has fewer members, the rest of the list keeps the entries of the previous branch. The
    // list is used as a set, and `assign` does not change, so this only widens a scan.
    take_closest(branch, distances[m], cond_size, closest);
    std::vector<int>& members = clusters[c];
    members.clear();
    for (const auto& [h, distance] : closest) members.push_back(h);
}

/// Fills clusters of fewer than cond_size entries with random haplotypes of other clusters; one may be drawn
/// twice.
void haplotypeCluster_builder::top_up(random_source& random) {
    for (auto& [number, members] : clusters) {
        TOLVANE_ASSERT(!members.empty(), "it->second.size()>0");
        while (static_cast<int>(members.size()) < cond_size) {
            const int h = random.draw_below(static_cast<int>(H.size()));
            if (assign[h] != number) members.push_back(h);
        }
    }
}
