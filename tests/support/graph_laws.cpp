#include "support/graph_laws.h"

#include <algorithm>
#include <bitset>

#include "support/graph_text.h"

namespace support {

namespace {

constexpr unsigned MOST_CANDIDATES = 8;
constexpr unsigned MOST_TRANSITIONS = 8192;

struct steps {
    int left0, right0, left1, right1;
};

steps steps_of(const genotype_graph& graph, unsigned t) {
    const int byte0 = graph.trans_nodes[2 * t], byte1 = graph.trans_nodes[2 * t + 1];
    return {byte0 % 16, byte0 / 16, byte1 % 16, byte1 / 16};
}

std::string candidate_text(const genotype_graph& graph, int s, int c) {
    std::string text;
    for (unsigned i = 0; i < graph.seg_length[s]; ++i)
        text += graph.getA(s, c, static_cast<int>(i)) != 0 ? '1' : '0';
    return text;
}

::testing::AssertionResult broken(const std::string& law) {
    return ::testing::AssertionFailure() << law;
}

::testing::AssertionResult check_segments(const genotype_graph& graph) {
    const std::size_t S = graph.seg_count.size();
    if (graph.seg_offset.size() != S || graph.seg_length.size() != S) return broken("one entry per segment");
    unsigned offset = 0, loci = 0;
    for (std::size_t s = 0; s < S; ++s) {
        if (graph.seg_offset[s] != offset) return broken("candidates are stored one after another");
        if (graph.seg_count[s] < 1 || graph.seg_count[s] > MOST_CANDIDATES)
            return broken("1 to 8 candidates");
        if (graph.seg_length[s] < 1) return broken("a segment has at least one locus");
        offset += graph.seg_count[s] * graph.seg_length[s];
        loci += graph.seg_length[s];
    }
    if (graph.hap_bits.n != offset || graph.hap_bits.data.size() != (offset + 7) / 8)
        return broken("hap_bits holds all candidates");
    if (offset % 8 != 0 && (graph.hap_bits.data.back() >> (offset % 8)) != 0)
        return broken("no bits past the end");
    if (graph.site_ambiguous.n != loci || graph.site_missing.n != loci)
        return broken("segments cover all loci");
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult check_sites(const genotype_graph& graph) {
    int locus = 0;
    for (int s = 0; s < graph.n_segments(); ++s)
        for (int i = 0; i < static_cast<int>(graph.seg_length[s]); ++i, ++locus)
            for (int c = 1; c < static_cast<int>(graph.seg_count[s]); ++c)
                if (!graph.site_ambiguous[locus] && graph.getA(s, c, i) != graph.getA(s, 0, i))
                    return broken("candidates differ only at ambiguous loci");
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult check_groups(const genotype_graph& graph) {
    const std::size_t S = graph.seg_count.size();
    if (graph.trans_count.size() != S + 1 || graph.trans_offset.size() != S + 1)
        return broken("one more group than segments");
    unsigned offset = 0;
    for (std::size_t g = 0; g <= S; ++g) {
        if (graph.trans_offset[g] != offset) return broken("groups are stored in order");
        if (graph.trans_count[g] < 1 || graph.trans_count[g] > MOST_TRANSITIONS)
            return broken("1 to 8192 transitions per group");
        offset += graph.trans_count[g];
    }
    if (graph.trans_prob.size() != offset || graph.trans_store.size() != offset ||
        graph.trans_nodes.size() != 2 * offset)
        return broken("all lists of transitions have the same length");
    for (std::size_t g = 0; g <= S; ++g) {
        const int n_left = g == 0 ? 1 : static_cast<int>(graph.seg_count[g - 1]);
        const int n_right = g == S ? 1 : static_cast<int>(graph.seg_count[g]);
        for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t) {
            const steps step = steps_of(graph, t);
            if (step.left0 >= n_left || step.left1 >= n_left || step.right0 >= n_right ||
                step.right1 >= n_right)
                return broken("candidate out of range in group " + std::to_string(g) + ": " +
                              transition_text(graph, t));
        }
    }
    return ::testing::AssertionSuccess();
}

/// A pair of candidates, in either order, as one number.
std::size_t number_of(int candidate0, int candidate1) {
    const auto [smaller, larger] = std::minmax(candidate0, candidate1);
    return static_cast<std::size_t>(16 * smaller + larger);
}

::testing::AssertionResult check_links(const genotype_graph& graph) {
    // The right pairs of a group are the left pairs of the next one.
    for (std::size_t g = 0; g + 1 < graph.trans_count.size(); ++g) {
        const unsigned first = graph.trans_offset[g], middle = graph.trans_offset[g + 1],
                       end = middle + graph.trans_count[g + 1];
        std::bitset<256> led_to, left_from;
        for (unsigned a = first; a < middle; ++a)
            led_to.set(number_of(steps_of(graph, a).right0, steps_of(graph, a).right1));
        for (unsigned b = middle; b < end; ++b)
            left_from.set(number_of(steps_of(graph, b).left0, steps_of(graph, b).left1));
        if (led_to != left_from)
            return broken("dead end between groups " + std::to_string(g) + " and " + std::to_string(g + 1));
    }
    return ::testing::AssertionSuccess();
}

}  // namespace

::testing::AssertionResult check_invariants(const genotype_graph& graph) {
    for (const auto check : {check_segments, check_sites, check_groups, check_links}) {
        const ::testing::AssertionResult result = check(graph);
        if (!result) return result;
    }
    return ::testing::AssertionSuccess();
}

bool can_follow(const genotype_graph& graph, unsigned a, unsigned b) {
    const steps before = steps_of(graph, a), after = steps_of(graph, b);
    return std::minmax(before.right0, before.right1) == std::minmax(after.left0, after.left1);
}

void for_each_walk(const genotype_graph& graph,
                   const std::function<void(const std::vector<unsigned>&)>& visit) {
    std::vector<unsigned> walk;
    const std::function<void()> go_on = [&] {
        const std::size_t g = walk.size();
        if (g == graph.trans_count.size()) {
            visit(walk);
            return;
        }
        for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t) {
            if (g > 0 && !can_follow(graph, walk.back(), t)) continue;
            walk.push_back(t);
            go_on();
            walk.pop_back();
        }
    };
    go_on();
}

std::set<haplotype_pair> pairs_of_walk(const genotype_graph& graph, const std::vector<unsigned>& walk) {
    /// Two chromosomes on a walk: the current candidate of each, and its alleles so far.
    struct state {
        int at0, at1;
        std::string h0, h1;
    };
    std::vector<state> states{{0, 0, "", ""}};
    for (std::size_t g = 0; g + 1 < walk.size(); ++g) {
        const steps step = steps_of(graph, walk[g]);
        std::vector<state> next;
        const auto add = [&](const state& from, int to0, int to1) {
            const int s = static_cast<int>(g);
            next.push_back(
                {to0, to1, from.h0 + candidate_text(graph, s, to0), from.h1 + candidate_text(graph, s, to1)});
        };
        for (const state& from : states) {
            if (from.at0 == step.left0 && from.at1 == step.left1) add(from, step.right0, step.right1);
            if (from.at0 == step.left1 && from.at1 == step.left0) add(from, step.right1, step.right0);
        }
        states = std::move(next);
    }
    std::set<haplotype_pair> pairs;
    for (const state& end : states) pairs.insert(unordered(end.h0, end.h1));
    return pairs;
}

std::set<haplotype_pair> pairs_of(const genotype_graph& graph) {
    std::set<haplotype_pair> pairs;
    for_each_walk(graph, [&](const std::vector<unsigned>& walk) { pairs.merge(pairs_of_walk(graph, walk)); });
    return pairs;
}

unsigned sweep_plainly(const genotype_graph& graph, std::vector<bool>& kept) {
    unsigned n_set = 0;
    const auto end = [&](int g) { return graph.trans_offset[g] + graph.trans_count[g]; };
    const auto repair = [&](int from, int to, bool forward) {
        for (unsigned t = graph.trans_offset[from]; t < end(from); ++t) {
            if (!kept[t]) continue;
            std::vector<unsigned> neighbours;
            for (unsigned u = graph.trans_offset[to]; u < end(to); ++u)
                if (forward ? can_follow(graph, t, u) : can_follow(graph, u, t)) neighbours.push_back(u);
            const auto is_kept = [&](unsigned u) { return kept[u]; };
            if (std::any_of(neighbours.begin(), neighbours.end(), is_kept)) continue;
            const auto poorer = [&](unsigned u, unsigned v) {
                return graph.trans_store[u] < graph.trans_store[v];
            };
            kept[*std::max_element(neighbours.begin(), neighbours.end(), poorer)] = true;
            ++n_set;
        }
    };
    for (int g = 0; g + 1 < graph.n_groups(); ++g) {
        repair(g, g + 1, true);
        repair(g + 1, g, false);
    }
    return n_set;
}

}  // namespace support
