#include <algorithm>
#include <array>
#include <bitset>
#include <cstdint>
#include <span>

#include "objects/genotype_graph.h"
#include "objects/merge_choice.h"
#include "utils/fixed_sort.h"

namespace {

constexpr std::size_t MAX_MERGE_GROUP_BYTES = 10;  // bytes of a group that may be merged away: 5 transitions

using byte_list = std::vector<unsigned char>;  // two bytes per transition: see genotype_graph

/// Steps of a group that may be merged away.
using step_list = fixed_list<unsigned char, MAX_MERGE_GROUP_BYTES>;

/// The distinct steps of such a group in order of first appearance. They become the candidates of the merged
/// segment.
step_list distinct(const byte_list& group) {
    step_list steps;
    std::bitset<256> seen;
    for (const unsigned char step : group) {
        if (!seen[step]) steps.push_back(step);
        seen.set(step);
    }
    return steps;
}

/// The group that is merged away, in terms of the merged segment. Entries 2k and 2k + 1 describe the two
/// chromosomes of transition k: they come from candidate `left`, take merged candidate `middle` and go on to
/// candidate `right`.
struct merged_group {
    merged_group(const byte_list& group, const step_list& candidates) {
        for (const unsigned char step : group) {
            left.push_back(step & 15);
            middle.push_back(
                static_cast<int>(std::find(candidates.begin(), candidates.end(), step) - candidates.begin()));
            right.push_back(step >> 4);
        }
    }

    fixed_list<int, MAX_MERGE_GROUP_BYTES> left, middle, right;
};

/// Appends the transitions that join two pairs of candidates through a shared pair. With `straight`,
/// chromosome 0 of one side continues as chromosome 0 of the other, else as chromosome 1. If both chromosomes
/// share one candidate (`met_at_one`), both ways are possible.
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

/// The group before the merged segment, with merged candidates on its right.
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

/// The group after the merged segment, with merged candidates on its left.
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

/// A segment of the original graph, or one merged from two segments.
struct open_segment {
    int n_ambiguous;
    int length;
    int n_candidates;
    int left = -1, right = -1;  // the two segments, -1 if not merged
    step_list steps{};          // one per merged candidate: the candidates it joins
};

/// A group with its kept transitions. Groups are a linked list, from which a group is removed when it is
/// merged away.
struct open_group {
    byte_list nodes;
    int previous, next;
    int segment;  // the one on its right
};

/// A graph in a form in which segments can be merged. It refers to the candidates of the original graph.
class open_graph {
  public:
    open_graph(const genotype_graph& graph, const std::vector<bool>& kept);

    /// Merges segments until no group qualifies.
    void merge();
    /// Fills an empty graph. It gets the candidate pairs that a kept transition reaches, and all transitions
    /// between them, with probabilities of 0.
    void write(genotype_graph& out) const;

  private:
    void offer(int g);
    void merge_at(int g);
    chaplotype candidates_of(int s) const;
    void append_candidate(int s, int c, chaplotype& out) const;

    const genotype_graph& from;
    const int last;  // the last group, which has no segment on its right
    std::vector<open_group> groups;
    std::vector<open_segment> segments;  // those of the original graph, then merged ones
    merge_choice choice;
};

open_graph::open_graph(const genotype_graph& graph, const std::vector<bool>& kept)
    : from(graph), last(graph.n_groups() - 1), choice(graph.n_groups()) {
    int locus = 0;
    for (int s = 0; s < graph.n_segments(); ++s) {
        const int length = static_cast<int>(graph.seg_length[s]);
        segments.push_back(
            {graph.site_ambiguous.count(locus, length), length, static_cast<int>(graph.seg_count[s])});
        locus += length;
    }
    for (int g = 0; g <= last; ++g) {
        groups.push_back({{}, g - 1, g + 1, g});
        for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t)
            if (kept[t])
                groups[g].nodes.insert(groups[g].nodes.end(),
                                       {graph.trans_nodes[2 * t], graph.trans_nodes[2 * t + 1]});
    }
    for (int g = 0; g <= last; ++g) offer(g);
}

/// Registers the segment that merging group `g` away would give.
void open_graph::offer(int g) {
    if (g == 0 || g == last) return;  // they have a segment on one side only
    const open_group& group = groups[g];
    if (group.nodes.empty() || group.nodes.size() > MAX_MERGE_GROUP_BYTES) {
        choice.exclude(g);
        return;
    }
    const open_segment &left = segments[groups[group.previous].segment], &right = segments[group.segment];
    choice.set(g, static_cast<int>(distinct(group.nodes).size()), left.n_ambiguous + right.n_ambiguous);
}

void open_graph::merge() {
    for (int g = choice.choose(); g >= 0; g = choice.choose()) merge_at(g);
}

/// Merges the two segments on either side of group `g`.
void open_graph::merge_at(int g) {
    const open_group& group = groups[g];
    open_group &before = groups[group.previous], &after = groups[group.next];
    const int left = before.segment, right = group.segment;
    const step_list steps = distinct(group.nodes);
    const merged_group m(group.nodes, steps);
    before.nodes = group_before(before.nodes, m);
    after.nodes = group_after(after.nodes, m);
    before.segment = static_cast<int>(segments.size());
    before.next = group.next;
    after.previous = group.previous;
    segments.push_back({segments[left].n_ambiguous + segments[right].n_ambiguous,
                        segments[left].length + segments[right].length, static_cast<int>(steps.size()), left,
                        right, steps});
    choice.exclude(g);
    offer(group.previous);
    offer(group.next);
}

/// The candidates of segment `s`, one after the other.
chaplotype open_graph::candidates_of(int s) const {
    chaplotype candidates;
    for (int c = 0; c < segments[s].n_candidates; ++c) append_candidate(s, c, candidates);
    return candidates;
}

/// Appends the alleles of candidate `c` of segment `s`. A merged candidate is the sequence of those it was
/// joined from, left to right.
void open_graph::append_candidate(int s, int c, chaplotype& out) const {
    std::vector<std::pair<int, int>> to_come{{s, c}};  // stack of segments and candidates
    while (!to_come.empty()) {
        const auto [segment, candidate] = to_come.back();
        const open_segment& merged = segments[segment];
        to_come.pop_back();
        if (merged.left < 0) {
            out.push_back(from.hap_bits, from.candidate(segment, candidate), merged.length);
        } else {
            to_come.emplace_back(merged.right, merged.steps[candidate] >> 4);
            to_come.emplace_back(merged.left, merged.steps[candidate] & 15);
        }
    }
}

static_assert(MAX_SEGMENT_HAPS * (MAX_SEGMENT_HAPS + 1) / 2 <= 4 * MAX_SEGMENT_PAIRS,
              "a pair_list holds all pairs of a segment's candidates");

/// Unordered candidate pairs on the right of a group, smaller number first, in ascending order.
pair_list right_pairs(const byte_list& group) {
    std::array<std::array<bool, 16>, 16> seen{};
    for (std::size_t t = 0; t < group.size(); t += 2) {
        const int right0 = group[t] >> 4, right1 = group[t + 1] >> 4;
        seen[std::min(right0, right1)][std::max(right0, right1)] = true;
    }
    pair_list pairs;
    for (int c = 0; c < 16; ++c)
        for (int d = c; d < 16; ++d)
            if (seen[c][d]) pairs.push_back({c, d});
    return pairs;
}

/// Appends one bit for each locus of a segment: whether its candidates differ there.
void push_differences(const chaplotype& candidates, int count, chaplotype& out) {
    const int length = candidates.size() / count;
    for (int i = 0; i < length; i += 64) {
        std::uint64_t differ = 0;
        for (int c = 1; c < count; ++c)
            differ |= candidates.get64(c * length + i, length - i) ^ candidates.get64(i, length - i);
        out.push_back(differ, std::min(length - i, 64));
    }
}

void open_graph::write(genotype_graph& out) const {
    const pair_list outside{{0, 0}};
    pair_list left = outside;
    for (int g = 0; g < last; g = groups[g].next) {
        const int s = groups[g].segment;
        const chaplotype candidates = candidates_of(s);
        out.pushHaps(candidates, segments[s].n_candidates);
        push_differences(candidates, segments[s].n_candidates, out.site_ambiguous);
        const pair_list right = right_pairs(groups[g].nodes);
        out.pushTrans(all_transitions(left, right));
        left = right;
    }
    out.pushTrans(all_transitions(left, outside));
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
        // Equal values are common, and the output of a run depends on their order.
        fixed_sort::sort(std::span(order), compTransition);
        nodes.assign(trans_nodes.begin() + 2 * first, trans_nodes.begin() + 2 * (first + trans_count[g]));
        for (unsigned k = 0; k < trans_count[g]; ++k) {
            const unsigned from = static_cast<unsigned>(order[k].second) - first;
            trans_store[first + k] = order[k].first;
            trans_nodes[2 * (first + k)] = nodes[2 * from];
            trans_nodes[2 * (first + k) + 1] = nodes[2 * from + 1];
        }
    }
}

/// Flags the best transitions of each group that together hold `threshold` of its probability. The groups
/// must be sorted.
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

    open_graph parts(*this, kept);
    parts.merge();
    genotype_graph merged(name);
    parts.write(merged);
    merged.site_missing = std::move(site_missing);
    for (auto* probabilities : {&merged.trans_prob, &merged.trans_store}) probabilities->shrink_to_fit();
    merged.trans_nodes.shrink_to_fit();
    *this = std::move(merged);
}
