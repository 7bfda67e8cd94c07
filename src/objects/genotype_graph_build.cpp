#include <algorithm>
#include <cstdint>

#include "objects/genotype_graph.h"
#include "utils/autils.h"

namespace {

/// Alleles of a candidate at the ambiguous loci of its segment, bit j for the j-th of them. At all other loci
/// the candidates of a segment are equal.
using ambiguous_alleles = unsigned;

/// Candidates and candidate pairs of the segment under construction. Candidates are numbered in order of
/// first appearance in the pairs. Each ambiguous locus doubles their number.
struct segment {
    fixed_list<ambiguous_alleles, 2 * MAX_SEGMENT_HAPS> candidates{0};
    pair_list pairs{{0, 0}};
    int n_ambiguous = 0;
};

/// Extends a segment by one ambiguous locus.
class extension {
  public:
    explicit extension(const segment& s) : before(s), next{{}, {}, s.n_ambiguous + 1} {
        numbers.fill({-1, -1});
    }

    /// Adds a pair whose first member gets allele `x` and whose second member gets `y`.
    void add(const candidate_pair& pair, bool x, bool y) {
        const int first = number_of(pair[0], x);
        next.pairs.push_back({first, number_of(pair[1], y)});
    }
    const segment& result() const { return next; }

  private:
    int number_of(int candidate, bool allele) {
        int& known = numbers[candidate][allele];
        if (known < 0) {
            known = static_cast<int>(next.candidates.size());
            next.candidates.push_back(before.candidates[candidate] | static_cast<ambiguous_alleles>(allele)
                                                                         << before.n_ambiguous);
        }
        return known;
    }

    const segment& before;
    segment next;
    // The new number of each candidate with either allele, -1 until a pair uses it.
    std::array<std::array<int, 2>, MAX_SEGMENT_HAPS> numbers;
};

/// The segment with one more ambiguous locus, which has genotype code (`a`, `b`, `m`).
segment extended(const segment& s, bool a, bool b, bool m) {
    extension next(s);
    for (const auto& pair : s.pairs) {
        // If both members are equal, both orders of a heterozygote are the same pair.
        const bool distinct = pair[0] != pair[1];
        if (m) {
            next.add(pair, false, false);
            next.add(pair, true, true);
            next.add(pair, false, true);
            if (distinct) next.add(pair, true, false);
        } else {
            next.add(pair, a, b);
            if (distinct) next.add(pair, b, a);
        }
    }
    return next.result();
}

bool fits(const segment& s) {
    return s.pairs.size() <= MAX_SEGMENT_PAIRS && s.candidates.size() <= MAX_SEGMENT_HAPS;
}

/// The candidates of the segment over the loci from `first` to `end`, exclusive, one after the other. `a` has
/// the alleles at the loci that are not ambiguous.
chaplotype spelled(const segment& s, int first, int end, const chaplotype& a, const chaplotype& ambiguous) {
    chaplotype spelling;
    for (ambiguous_alleles alleles : s.candidates) {
        const int shift = spelling.size() - first;
        spelling.push_back(a, first, end - first);
        for (int l = ambiguous.next(first); l < end; l = ambiguous.next(l + 1), alleles >>= 1)
            spelling.set(l + shift, (alleles & 1) != 0);
    }
    return spelling;
}

}  // namespace

std::vector<unsigned char> all_transitions(const pair_list& left, const pair_list& right) {
    std::vector<unsigned char> nodes;
    nodes.reserve(4 * left.size() * right.size());
    for (const auto& p : left)
        for (const auto& q : right) {
            nodes.push_back(step_byte(p[0], q[0]));
            nodes.push_back(step_byte(p[1], q[1]));
            if (p[0] == p[1] || q[0] == q[1]) continue;
            nodes.push_back(step_byte(p[0], q[1]));
            nodes.push_back(step_byte(p[1], q[0]));
        }
    return nodes;
}

int genotype_graph::buildUnr(const chaplotype& a, const chaplotype& b, const chaplotype& m) {
    const int n = a.size();
    site_missing = m;
    for (int l = 0; l < n; l += 64)
        site_ambiguous.push_back((a.get64(l) ^ b.get64(l)) | m.get64(l), std::min(n - l, 64));

    const pair_list outside{{0, 0}};
    pair_list left = outside;
    for (int first = 0; first < n;) {
        segment s;
        int l = site_ambiguous.next(first);
        // Homozygous loci in between are skipped: they change neither the candidates nor the pairs. The first
        // ambiguous locus of a segment always fits.
        for (; l < n; l = site_ambiguous.next(l + 1)) {
            const segment longer = extended(s, a[l] != 0, b[l] != 0, m[l] != 0);
            if (!fits(longer)) break;
            s = longer;
        }
        pushHaps(spelled(s, first, l, a, site_ambiguous), static_cast<int>(s.candidates.size()));
        pushTrans(all_transitions(left, s.pairs));
        left = s.pairs;
        first = l;
    }
    if (n > 0) pushTrans(all_transitions(left, outside));
    return 0;
}

void genotype_graph::pushHaps(const chaplotype& candidates, int count) {
    seg_offset.push_back(hap_bits.n);
    seg_count.push_back(static_cast<unsigned>(count));
    seg_length.push_back(static_cast<unsigned>(candidates.size() / count));
    hap_bits.push_back(candidates, 0, candidates.size());
}

void genotype_graph::pushTrans(const std::vector<unsigned char>& nodes) {
    trans_offset.push_back(static_cast<unsigned>(trans_prob.size()));
    trans_count.push_back(static_cast<unsigned>(nodes.size() / 2));
    trans_nodes.insert(trans_nodes.end(), nodes.begin(), nodes.end());
    trans_prob.resize(trans_nodes.size() / 2, 0.0F);
    trans_store.resize(trans_nodes.size() / 2, 0.0F);
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
