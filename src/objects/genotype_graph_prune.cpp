#include <algorithm>
#include <array>

#include "objects/genotype_graph.h"

namespace {

constexpr int MAX_MERGED_HAPS = 8;         // candidates of a merged segment
constexpr int MAX_MERGE_GROUP_BYTES = 10;  // bytes of a group that is merged away: 5 transitions
constexpr int MAX_MERGED_AMBIGUOUS = 21;   // ambiguous loci of a merged segment
constexpr int NO_BEST = 1000000000;

using byte_list = std::vector<unsigned char>;  // two bytes a transition: see genotype_graph
using bit_lists = std::vector<std::vector<bool>>;

/// One chromosome's step from a left to a right candidate, as half a transition.
unsigned char step_byte(int left, int right) {
    return static_cast<unsigned char>((right << 4) + left);
}

/// A graph taken apart for merging: the kept transitions of each group, and for each segment its candidates
/// and its number of ambiguous loci.
struct open_graph {
    std::vector<byte_list> groups;
    std::vector<int> n_steps;  // different bytes of each group: candidates of a segment merged there
    std::vector<bit_lists> segments;
    std::vector<int> n_ambiguous;
};

int count_distinct(const byte_list& bytes) {
    std::array<bool, 256> seen{};
    for (const unsigned char byte : bytes) seen[byte] = true;
    return static_cast<int>(std::count(seen.begin(), seen.end(), true));
}

/// The inner group to merge away next, or -1: each one has to beat the best before it in merged candidates
/// and must not be worse in ambiguous loci. The rule asks for both at once.
int choose_group(const open_graph& graph) {
    int chosen = -1, best_haps = NO_BEST, best_amb = NO_BEST;
    for (int g = 1; g + 1 < static_cast<int>(graph.groups.size()); ++g) {
        const int n_haps = graph.n_steps[g];
        const int n_amb = graph.n_ambiguous[g - 1] + graph.n_ambiguous[g];
        if (n_haps < best_haps && n_haps <= MAX_MERGED_HAPS &&
            graph.groups[g].size() <= MAX_MERGE_GROUP_BYTES &&
            n_amb <= std::min(best_amb, MAX_MERGED_AMBIGUOUS)) {
            chosen = g;
            best_haps = n_haps;
            best_amb = n_amb;
        }
    }
    return chosen;
}

/// The group that is merged away, in terms of the merged segment: entries 2k and 2k + 1 describe the two
/// chromosomes of transition k, which come from candidate `left`, take merged candidate `middle` and go on
/// to candidate `right`.
struct merged_group {
    std::vector<int> left, middle, right;
    bit_lists candidates;
};

merged_group merge_candidates(const byte_list& group, const bit_lists& left, const bit_lists& right) {
    merged_group m;
    std::array<int, 256> merged;
    merged.fill(-1);
    for (const unsigned char step : group) {
        const int l = step & 15, r = step >> 4;
        if (merged[step] < 0) {
            merged[step] = static_cast<int>(m.candidates.size());
            m.candidates.push_back(left[l]);
            m.candidates.back().insert(m.candidates.back().end(), right[r].begin(), right[r].end());
        }
        m.left.push_back(l);
        m.middle.push_back(merged[step]);
        m.right.push_back(r);
    }
    return m;
}

/// Appends the transitions that join two pairs of candidates, given how the pairs met at the candidates they
/// share. Where both chromosomes met at one candidate, both ways of joining are open.
void join(int left0, int left1, int right0, int right1, bool met_at_one, bool straight, byte_list& out) {
    const bool both_ways = met_at_one && left0 != left1 && right0 != right1;
    if (met_at_one || straight) {
        out.push_back(step_byte(left0, right0));
        out.push_back(step_byte(left1, right1));
    }
    if (both_ways || (!met_at_one && !straight)) {
        out.push_back(step_byte(left1, right0));
        out.push_back(step_byte(left0, right1));
    }
}

/// The group before the merged segment, leading to merged candidates.
byte_list group_before(const byte_list& group, const merged_group& m) {
    byte_list out;
    for (std::size_t p = 0; p < group.size(); p += 2) {
        const int l0 = group[p] & 15, r0 = group[p] >> 4, l1 = group[p + 1] & 15, r1 = group[p + 1] >> 4;
        for (std::size_t k = 0; k < m.left.size(); k += 2) {
            const int a0 = m.left[k], a1 = m.left[k + 1];
            const bool straight = r0 == a0 && r1 == a1, crossed = r1 == a0 && r0 == a1;
            if (straight || crossed) join(l0, l1, m.middle[k], m.middle[k + 1], a0 == a1, straight, out);
        }
    }
    return out;
}

/// The group after the merged segment, coming from merged candidates.
byte_list group_after(const byte_list& group, const merged_group& m) {
    byte_list out;
    for (std::size_t q = 0; q < group.size(); q += 2) {
        const int l0 = group[q] & 15, r0 = group[q] >> 4, l1 = group[q + 1] & 15, r1 = group[q + 1] >> 4;
        for (std::size_t k = 0; k < m.right.size(); k += 2) {
            const int b0 = m.right[k], b1 = m.right[k + 1];
            const bool straight = l0 == b0 && l1 == b1, crossed = l1 == b0 && l0 == b1;
            if (straight || crossed) join(m.middle[k], m.middle[k + 1], r0, r1, l0 == l1, straight, out);
        }
    }
    return out;
}

/// Merges the two segments on either side of group `g`.
void merge_at(open_graph& graph, int g) {
    merged_group m = merge_candidates(graph.groups[g], graph.segments[g - 1], graph.segments[g]);
    graph.groups[g - 1] = group_before(graph.groups[g - 1], m);
    graph.groups[g + 1] = group_after(graph.groups[g + 1], m);
    for (const int rewritten : {g - 1, g + 1})
        graph.n_steps[rewritten] = count_distinct(graph.groups[rewritten]);
    graph.groups.erase(graph.groups.begin() + g);
    graph.n_steps.erase(graph.n_steps.begin() + g);
    graph.segments[g - 1] = std::move(m.candidates);
    graph.segments.erase(graph.segments.begin() + g);
    graph.n_ambiguous[g - 1] += graph.n_ambiguous[g];
    graph.n_ambiguous.erase(graph.n_ambiguous.begin() + g);
}

/// Unordered candidate pairs on the right of a group, smaller number first, in ascending order.
std::vector<candidate_pair> right_pairs(const byte_list& group) {
    std::array<std::array<bool, 16>, 16> seen{};
    for (std::size_t t = 0; t < group.size(); t += 2) {
        const int right0 = group[t] >> 4, right1 = group[t + 1] >> 4;
        seen[std::min(right0, right1)][std::max(right0, right1)] = true;
    }
    std::vector<candidate_pair> pairs;
    for (int c = 0; c < 16; ++c)
        for (int d = c; d < 16; ++d)
            if (seen[c][d]) pairs.push_back({c, d});
    return pairs;
}

bool candidates_differ(const bit_lists& candidates, std::size_t position) {
    return std::any_of(candidates.begin(), candidates.end(), [&](const std::vector<bool>& candidate) {
        return candidate[position] != candidates[0][position];
    });
}

}  // namespace

bool compTransition(std::pair<float, int> a, std::pair<float, int> b) {
    return a.first > b.first;
}

void genotype_graph::sort() {
    std::vector<std::pair<float, int>> order;
    byte_list nodes;
    for (int g = 0; g < n_groups(); ++g) {
        const unsigned first = trans_offset[g];
        order.resize(trans_count[g]);
        for (unsigned k = 0; k < trans_count[g]; ++k)
            order[k] = {trans_store[first + k], static_cast<int>(first + k)};
        // Unstable on purpose: equal floats are common, and their order is that of the GNU library's sort,
        // which is part of a run's reproducible output.
        std::sort(order.begin(), order.end(), compTransition);
        nodes.assign(trans_nodes.begin() + 2 * first, trans_nodes.begin() + 2 * (first + trans_count[g]));
        for (unsigned k = 0; k < trans_count[g]; ++k) {
            const unsigned from = static_cast<unsigned>(order[k].second) - first;
            trans_store[first + k] = order[k].first;
            trans_nodes[2 * (first + k)] = nodes[2 * from];
            trans_nodes[2 * (first + k) + 1] = nodes[2 * from + 1];
        }
    }
}

/// Flags of the best transitions of each group that together hold `threshold` of its probability.
std::vector<bool> genotype_graph::select_transitions(double threshold) const {
    std::vector<bool> kept(trans_store.size(), false);
    if (threshold < 0.0) return kept;
    for (int g = 0; g < n_groups(); ++g) {
        double sum = 0.0;
        for (unsigned t = trans_offset[g]; t < trans_offset[g] + trans_count[g]; ++t) {
            kept[t] = true;
            sum += trans_store[t];
            if (sum > threshold) break;
        }
    }
    return kept;
}

void genotype_graph::pruneAndMerge(double threshold) {
    normalize();
    sort();
    std::vector<bool> kept = select_transitions(threshold);
    while (consolide(kept) > 0) {
    }

    open_graph graph;
    for (int g = 0; g < n_groups(); ++g) {
        byte_list& group = graph.groups.emplace_back();
        for (unsigned t = trans_offset[g]; t < trans_offset[g] + trans_count[g]; ++t)
            if (kept[t]) group.insert(group.end(), {trans_nodes[2 * t], trans_nodes[2 * t + 1]});
        graph.n_steps.push_back(count_distinct(group));
    }
    auto ambiguous = site_ambiguous.begin();
    for (int s = 0; s < n_segments(); ++s) {
        bit_lists& candidates = graph.segments.emplace_back(seg_count[s], std::vector<bool>(seg_length[s]));
        for (unsigned c = 0; c < seg_count[s]; ++c)
            for (unsigned i = 0; i < seg_length[s]; ++i)
                candidates[c][i] = getA(s, static_cast<int>(c), static_cast<int>(i)) != 0;
        const auto end = ambiguous + seg_length[s];
        graph.n_ambiguous.push_back(static_cast<int>(std::count(ambiguous, end, true)));
        ambiguous = end;
    }

    for (int g = choose_group(graph); g >= 0; g = choose_group(graph)) merge_at(graph, g);
    rebuild(graph.groups, graph.segments);
}

/// Refills the graph from candidates and kept transitions: candidate pairs that no transition reaches are
/// gone, and all transitions between the remaining pairs are there again, without probabilities.
void genotype_graph::rebuild(const std::vector<byte_list>& groups, const std::vector<bit_lists>& segments) {
    trans_nodes.clear();
    trans_prob.clear();
    trans_store.clear();
    trans_offset.clear();
    trans_count.clear();
    hap_bits.clear();
    seg_offset.clear();
    seg_count.clear();
    seg_length.clear();
    site_ambiguous.clear();

    for (const auto& candidates : segments) {
        pushHaps(candidates);
        for (std::size_t i = 0; i < candidates[0].size(); ++i)
            site_ambiguous.push_back(candidates_differ(candidates, i));
    }
    std::vector<candidate_pair> left{{0, 0}};  // the entry into the graph
    for (std::size_t g = 0; g + 1 < groups.size(); ++g) {
        const auto right = right_pairs(groups[g]);
        pushTrans(all_transitions(left, right));
        left = right;
    }
    pushTrans(all_transitions(left, {{0, 0}}));
    for (auto* probabilities : {&trans_prob, &trans_store}) probabilities->shrink_to_fit();
    trans_nodes.shrink_to_fit();
}
