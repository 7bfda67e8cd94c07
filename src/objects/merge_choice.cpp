#include "objects/merge_choice.h"

#include <algorithm>
#include <bit>

namespace {

constexpr unsigned char NONE = MAX_MERGED_AMBIGUOUS + 1;

}  // namespace

merge_choice::merge_choice(int n_groups)
    : n_leaves(static_cast<int>(std::bit_ceil(static_cast<unsigned>(n_groups)))), nodes(2 * n_leaves) {
    for (least_ambiguous& node : nodes) node.fill(NONE);
}

void merge_choice::set(int g, int n_haps, int n_ambiguous) {
    int node = n_leaves + g;
    nodes[node].fill(NONE);
    if (n_ambiguous <= MAX_MERGED_AMBIGUOUS)
        for (int h = n_haps; h <= MAX_SEGMENT_HAPS; ++h)
            nodes[node][h] = static_cast<unsigned char>(n_ambiguous);
    for (node /= 2; node > 0; node /= 2)
        for (int h = 0; h <= MAX_SEGMENT_HAPS; ++h)
            nodes[node][h] = std::min(nodes[2 * node][h], nodes[2 * node + 1][h]);
}

void merge_choice::exclude(int g) {
    set(g, MAX_SEGMENT_HAPS + 1, 0);
}

int merge_choice::choose() const {
    int chosen = -1, max_haps = MAX_SEGMENT_HAPS, max_ambiguous = MAX_MERGED_AMBIGUOUS;
    for (int g = first_within(max_haps, max_ambiguous); g >= 0; g = first_within(max_haps, max_ambiguous)) {
        chosen = g;
        const least_ambiguous& leaf = nodes[n_leaves + g];
        max_ambiguous = leaf[max_haps];
        // Ends below the number of candidates of the group, which is at least 1.
        while (leaf[max_haps] != NONE) --max_haps;
    }
    return chosen;
}

/// The first group with at most `max_haps` candidates and `max_ambiguous` ambiguous loci, or -1.
int merge_choice::first_within(int max_haps, int max_ambiguous) const {
    const auto holds_one = [&](int node) { return nodes[node][max_haps] <= max_ambiguous; };
    if (!holds_one(1)) return -1;
    int node = 1;
    while (node < n_leaves) node = holds_one(2 * node) ? 2 * node : 2 * node + 1;
    return node - n_leaves;
}
