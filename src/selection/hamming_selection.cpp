#include "selection/hamming_selection.h"

#include <algorithm>

#include "objects/bit_kernels.h"
#include "utils/assertion.h"

hamming_selection::hamming_selection(const std::vector<chaplotype>& haplotypes,
                                     const haplotype_tiles& snapshot, int n_individuals, int K)
    : H(haplotypes), tiles(snapshot), n_study(2 * n_individuals), n_wanted(K) {}

void hamming_selection::begin(int ind, const segment_range& range) {
    TOLVANE_ASSERT(tiles.size() == static_cast<int>(H.size()), "tiles.size() == vecH.size()");
    individual = ind;
    first_locus = range.first_locus;
    last_locus = range.last_locus;
}

void hamming_selection::measure(int ind, const segment_range& range) {
    begin(ind, range);
    is_masked = false;
    scan(tiles.all());
}

void hamming_selection::measure(int ind, const segment_range& range, const haplotype_mask& mask) {
    begin(ind, range);
    TOLVANE_ASSERT(mask.size() == H.size(), "mask.size() == vecH.size()");
    is_masked = true;
    list_marked(mask);
    scan(marked_tiles);
}

/// Lists the marked haplotypes of individuals, and the tiles that hold any of them or any of the panel.
/// Branch-free, since branches would be mispredicted too often: writes every entry and advances only past
/// those to keep.
void hamming_selection::list_marked(const haplotype_mask& mask) {
    marked.resize(n_study / 2 + 1);
    std::size_t n = 0;
    for (int h = 0; h < n_study; h += 2) {
        marked[n] = {h, mask[h] + 2 * mask[h + 1]};
        n += marked[n].marks != 0;
    }
    marked.resize(n);
    marked_tiles.resize((mask.size() + bit_kernels::TILE - 1) / bit_kernels::TILE + 1);
    n = 0;
    const auto add = [this, &n](int tile) {
        marked_tiles[n] = tile;
        n += n == 0 || marked_tiles[n - 1] != tile;
    };
    for (const marked_pair& pair : marked) add(pair.first / bit_kernels::TILE);
    for (int h = n_study; h < static_cast<int>(mask.size()); ++h) add(h / bit_kernels::TILE);
    marked_tiles.resize(n);
}

void hamming_selection::scan(const std::vector<int>& of_tiles) {
    const int first_byte = first_locus >> 3, n_bytes = (last_locus >> 3) - first_byte + 1;
    tiles.distances(of_tiles, 2 * individual, 2 * individual + 1, first_byte, n_bytes, distances);
}

int hamming_selection::choose(random_source& random, std::vector<int>& idx) {
    idx.clear();
    closest_heap found(n_wanted, heap);
    if (is_masked)
        offer_marked(found, random);
    else
        offer_all(found, random);
    for (int h = n_study; h < static_cast<int>(H.size()); ++h) offer_reference(found, h);
    return found.drain(idx, last_locus - first_locus);
}

void hamming_selection::offer_all(closest_heap& found, random_source& random) const {
    for (int h = 0; h < n_study; h += 2)
        if (h != 2 * individual) offer_pair(found, h, random);
}

void hamming_selection::offer_marked(closest_heap& found, random_source& random) const {
    for (const auto [pair, marks] : marked) {
        if (marks == 3)
            offer_pair(found, pair, random);
        else
            offer_single(found, pair + (marks >> 1));
    }
}

/// Offers both haplotypes of another individual, `c0` and c0 + 1. If they are closest to different targets,
/// non_overlapping_hamming_distance decides which of them to take.
void hamming_selection::offer_pair(closest_heap& found, int c0, random_source& random) const {
    const std::vector<int>&d0 = distances.d0, &d1 = distances.d1;
    const int c1 = c0 + 1, limit = found.limit();
    if (std::min(nearest(c0), nearest(c1)) >= limit) return;
    bool take0 = nearest(c0) < limit, take1 = nearest(c1) < limit;
    // Equal distances count as closest to the first target.
    const bool same_target = (d1[c0] < d0[c0]) == (d1[c1] < d0[c1]);
    if (take0 && take1 && !same_target) {
        const int verdict = non_overlapping_hamming_distance(
            H[c0], H[c1], H[2 * individual], H[2 * individual + 1], first_locus, last_locus, random);
        take0 = verdict == 2 || verdict == 0;
        take1 = verdict == 2 || verdict == 1;
    }
    if (take0) found.push(c0, nearest(c0));
    if (take1) found.push(c1, nearest(c1));
    found.trim();
}

/// Offers one haplotype of another individual.
void hamming_selection::offer_single(closest_heap& found, int h) const {
    if (nearest(h) >= found.limit()) return;
    found.push(h, nearest(h));
    found.trim();
}

/// Offers a haplotype of the panel once for each target; both entries may stay. It is pushed whatever the
/// limit, and the heap is trimmed.
void hamming_selection::offer_reference(closest_heap& found, int h) const {
    const std::vector<int>&d0 = distances.d0, &d1 = distances.d1;
    const int limit = found.limit();
    found.push(h, d0[h] > limit ? DISTANCE_BEYOND_LIMIT : d0[h]);
    found.push(h, d1[h] > limit ? DISTANCE_BEYOND_LIMIT : d1[h]);
    found.trim();
}

int non_overlapping_hamming_distance(const chaplotype& c0, const chaplotype& c1, const chaplotype& h0,
                                     const chaplotype& h1, int first, int last, random_source& random) {
    const auto [only0, only1, both] = bit_kernels::kernels().overlap(
        c0.data.data(), c1.data.data(), h0.data.data(), h1.data.data(), first, last);
    // 0 / 0 is NaN, which is not above any draw.
    const double p0 = static_cast<double>(only0) / (only0 + both);
    const double p1 = static_cast<double>(only1) / (only1 + both);
    const double r0 = random.draw();
    const double r1 = random.draw();
    const bool keep0 = p0 > r0, keep1 = p1 > r1;
    if (keep0 && keep1) return 2;
    if (keep1) return 1;
    return keep0 ? 0 : -1;
}
