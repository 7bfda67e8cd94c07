#include <algorithm>

#include "objects/genotype_graph.h"
#include "utils/autils.h"

namespace {

using bit_lists = std::vector<std::vector<bool>>;

/// Candidates and candidate pairs of the segment under construction. Candidates are numbered in the order in
/// which the pairs name them first.
struct segment {
    bit_lists haps{{}};
    std::vector<candidate_pair> pairs{{0, 0}};
};

/// The segment with one more locus, of genotype code (`a`, `b`, `m`).
segment extended(const segment& s, bool a, bool b, bool m) {
    segment next{{}, {}};
    std::vector<std::array<int, 2>> ext(s.haps.size(), {-1, -1});
    const auto extend = [&](const candidate_pair& pair, int x, int y) {
        expand(s.haps, next.haps, ext, pair, next.pairs, x, y);
    };
    for (const auto& pair : s.pairs) {
        // Two equal members can't be told apart: the two orders of a heterozygote are one pair.
        const bool distinct = pair[0] != pair[1];
        if (m) {
            extend(pair, 0, 0);
            extend(pair, 1, 1);
            extend(pair, 0, 1);
            if (distinct) extend(pair, 1, 0);
        } else {
            extend(pair, a, b);
            if (distinct && a != b) extend(pair, b, a);
        }
    }
    return next;
}

bool fits(const segment& s) {
    return s.pairs.size() <= MAX_SEGMENT_PAIRS && s.haps.size() <= MAX_SEGMENT_HAPS;
}

}  // namespace

void expand(const bit_lists& haps, bit_lists& next_haps, std::vector<std::array<int, 2>>& ext,
            const candidate_pair& pair, std::vector<candidate_pair>& next_pairs, int x, int y) {
    const auto number = [&](int candidate, int allele) {
        int& known = ext[candidate][allele];
        if (known < 0) {
            known = static_cast<int>(next_haps.size());
            next_haps.push_back(haps[candidate]);
            next_haps.back().push_back(allele != 0);
        }
        return known;
    };
    const int first = number(pair[0], x);
    next_pairs.push_back({first, number(pair[1], y)});
}

std::vector<std::vector<int>> all_transitions(const std::vector<candidate_pair>& left,
                                              const std::vector<candidate_pair>& right) {
    std::vector<std::vector<int>> T(4);
    const auto add = [&T](int left0, int right0, int left1, int right1) {
        T[0].push_back(left0);
        T[1].push_back(right0);
        T[2].push_back(left1);
        T[3].push_back(right1);
    };
    for (const auto& p : left)
        for (const auto& q : right) {
            add(p[0], q[0], p[1], q[1]);
            if (p[0] != p[1] && q[0] != q[1]) add(p[0], q[1], p[1], q[0]);
        }
    return T;
}

int genotype_graph::buildUnr(const chaplotype& a, const chaplotype& b, const chaplotype& m) {
    const int n = a.size();
    std::vector<std::vector<candidate_pair>> seg_pairs;
    for (int l = 0; l < n;) {
        segment s;
        // The first locus of a segment always fits.
        for (; l < n; ++l) {
            const bool ambiguous = a[l] != b[l] || m[l];
            if (!ambiguous) {
                // All candidates go on with one allele: their number, their order and the pairs stay.
                for (auto& hap : s.haps) hap.push_back(a[l]);
            } else {
                segment next = extended(s, a[l], b[l], m[l]);
                if (!fits(next)) break;
                s = std::move(next);
            }
            site_ambiguous.push_back(ambiguous);
            site_missing.push_back(m[l]);
        }
        pushHaps(s.haps);
        seg_pairs.push_back(std::move(s.pairs));
    }
    if (seg_pairs.empty()) return 0;
    const std::vector<candidate_pair> outside{{0, 0}};
    pushTrans(all_transitions(outside, seg_pairs.front()));
    for (std::size_t g = 1; g < seg_pairs.size(); ++g)
        pushTrans(all_transitions(seg_pairs[g - 1], seg_pairs[g]));
    pushTrans(all_transitions(seg_pairs.back(), outside));
    return 0;
}

void genotype_graph::pushHaps(const bit_lists& haps) {
    seg_offset.push_back(hap_bits.n);
    seg_count.push_back(static_cast<unsigned>(haps.size()));
    seg_length.push_back(static_cast<unsigned>(haps[0].size()));
    for (const auto& hap : haps) hap_bits.push_back(hap);
}

void genotype_graph::pushTrans(const std::vector<std::vector<int>>& T) {
    trans_offset.push_back(static_cast<unsigned>(trans_prob.size()));
    trans_count.push_back(static_cast<unsigned>(T[0].size()));
    trans_prob.resize(trans_prob.size() + T[0].size(), 0.0F);
    trans_store.resize(trans_prob.size(), 0.0F);
    for (std::size_t k = 0; k < T[0].size(); ++k) {
        trans_nodes.push_back(static_cast<unsigned char>((T[1][k] << 4) + T[0][k]));
        trans_nodes.push_back(static_cast<unsigned char>((T[3][k] << 4) + T[2][k]));
    }
}

std::vector<segment_range> genotype_graph::cluster(int span, int window_size, random_source& random) const {
    const int n_windows = span / window_size;
    const int min_size = std::max(n_segments() / std::max(n_windows, 1), 2);
    std::vector<autils::item_run> runs;
    autils::decompose(min_size, {0, n_segments() - 1}, runs, random);
    std::vector<int> start(n_segments() + 1, 0);  // first locus of each segment
    for (int s = 0; s < n_segments(); ++s) start[s + 1] = start[s] + static_cast<int>(seg_length[s]);

    std::vector<segment_range> windows;
    windows.reserve(runs.size());
    for (const auto [first, last] : runs) windows.push_back({start[first], start[last + 1] - 1, first, last});
    return windows;
}
