#include "selection/hamming_selection.h"

#include <algorithm>

#include "objects/bit_kernels.h"
#include "utils/assertion.h"

namespace {

constexpr int BYTE_LOCI = 8;

int first_byte(const segment_range& range) {
    return range.first_locus / BYTE_LOCI;
}
int n_bytes(const segment_range& range) {
    return range.last_locus / BYTE_LOCI - first_byte(range) + 1;
}
/// Distances count all loci of the bytes that the range touches.
int largest_distance(const segment_range& range) {
    return BYTE_LOCI * n_bytes(range);
}

}  // namespace

hamming_selection::hamming_selection(const std::vector<chaplotype>& haplotypes,
                                     const haplotype_tiles& snapshot, int n_individuals, int K)
    : H(haplotypes), tiles(snapshot), n_study(2 * n_individuals), n_wanted(K) {}

void hamming_selection::measure(int ind, const segment_range& range, candidate_list& out) {
    begin(ind, range, out);
    scan(tiles.all(), out);
    list_pairs(nullptr, 0, out);
}

void hamming_selection::measure(int ind, const segment_range& range, const haplotype_mask& mask, int n_more,
                                candidate_list& out) {
    TOLVANE_ASSERT(mask.size() == H.size(), "mask.size() == vecH.size()");
    begin(ind, range, out);
    list_tiles(mask);
    scan(marked_tiles, out);
    list_pairs(&mask, n_more, out);
}

void hamming_selection::begin(int ind, const segment_range& range, candidate_list& out) {
    TOLVANE_ASSERT(tiles.size() == static_cast<int>(H.size()), "tiles.size() == vecH.size()");
    out.individual = ind;
    out.range = range;
    out.pairs.clear();
    out.to_draw.clear();
    out.added.clear();
}

/// Lists the tiles that hold a marked haplotype of an individual, or any of the panel. Branch-free, since
/// branches would be mispredicted too often: writes every entry and advances only past those to keep.
void hamming_selection::list_tiles(const haplotype_mask& mask) {
    const int n_tiles = static_cast<int>(tiles.all().size());
    marked_tiles.resize(n_tiles);
    std::size_t n = 0;
    for (int tile = 0; tile < n_tiles; ++tile) {
        const int start = tile * bit_kernels::TILE,
                  end = std::min(start + bit_kernels::TILE, static_cast<int>(mask.size()));
        unsigned char any = end > n_study;
        for (int h = start; h < end; ++h) any |= mask[h];
        marked_tiles[n] = tile;
        n += any != 0;
    }
    marked_tiles.resize(n);
}

void hamming_selection::scan(const std::vector<int>& of_tiles, const candidate_list& list) {
    tiles.distances(of_tiles, 2 * list.individual, 2 * list.individual + 1, first_byte(list.range),
                    n_bytes(list.range), distances);
}

/// Lists the pairs that can be below the limit of the heap, and copies the distances of the panel.
///
/// Whatever the draws will decide, the limit is at most that of a heap which gets only the haplotypes that
/// are taken without draws. Each of `n_more` haplotypes can later turn one of these into a member of a pair
/// that is drawn, which leaves at least the limit of a heap that is larger by n_more.
void hamming_selection::list_pairs(const haplotype_mask* mask, int n_more, candidate_list& list) {
    bound.restart(n_wanted > 0 ? n_wanted + n_more : 0, largest_distance(list.range));
    for (int first = 0; first < n_study; first += 2) {
        const bool has0 = mask == nullptr || (*mask)[first] != 0,
                   has1 = mask == nullptr || (*mask)[first + 1] != 0;
        const int limit = bound.limit(), least = std::min(has0 ? nearest(first) : DISTANCE_BEYOND_LIMIT,
                                                          has1 ? nearest(first + 1) : DISTANCE_BEYOND_LIMIT);
        if (least >= limit || first == 2 * list.individual) continue;
        pair_candidate pair = candidate(first, mask, limit, list);
        if (pair.needs_draws) {
            for (int i = 0; i < 2; ++i) pair.n_nearer[i] = bound.n_up_to(pair.distance[i]);
            list.to_draw.push_back(static_cast<int>(list.pairs.size()));
        } else {
            for (const int distance : pair.distance) bound.add(distance);
        }
        list.pairs.push_back(pair);
    }
    list.panel[0].assign(distances.d0.begin() + n_study, distances.d0.begin() + static_cast<long>(H.size()));
    list.panel[1].assign(distances.d1.begin() + n_study, distances.d1.begin() + static_cast<long>(H.size()));
}

/// The candidate for a pair of which at least one haplotype is marked. `limit` is one that the limit of the
/// heap does not exceed at this pair.
pair_candidate hamming_selection::candidate(int first, const haplotype_mask* mask, int limit,
                                            const candidate_list& list) const {
    pair_candidate pair{first, {DISTANCE_BEYOND_LIMIT, DISTANCE_BEYOND_LIMIT}, limit};
    for (int i = 0; i < 2; ++i)
        if (mask == nullptr || (*mask)[first + i] != 0) pair.distance[i] = nearest(first + i);
    pair.needs_draws = std::max(pair.distance[0], pair.distance[1]) < limit && !have_one_target(first);
    if (pair.needs_draws) pair.chance = chances(first, list);
    return pair;
}

/// Whether both haplotypes of a pair are closest to the same target. Equal distances count as closest to the
/// first one.
bool hamming_selection::have_one_target(int first) const {
    const std::vector<int>&d0 = distances.d0, &d1 = distances.d1;
    return (d1[first] < d0[first]) == (d1[first + 1] < d0[first + 1]);
}

std::array<double, 2> hamming_selection::chances(int first, const candidate_list& list) const {
    const chaplotype *target = &H[2 * list.individual], *pair = &H[first];
    return chances_of_pair(pair[0], pair[1], target[0], target[1], list.range.first_locus,
                           list.range.last_locus);
}

void hamming_selection::add(std::vector<int>& more, const haplotype_mask& mask, candidate_list& list) {
    std::sort(more.begin(), more.end());
    marked_tiles.clear();
    for (const int h : more) {
        const int tile = h / bit_kernels::TILE;
        if (marked_tiles.empty() || marked_tiles.back() != tile) marked_tiles.push_back(tile);
    }
    scan(marked_tiles, list);

    list.added.clear();
    const auto is_before = [](const pair_candidate& pair, int first) { return pair.first < first; };
    auto listed = list.pairs.begin();
    for (std::size_t i = 0; i < more.size() && more[i] < n_study; ++i) {
        const int first = more[i] & ~1;
        const bool is_second = i > 0 && (more[i - 1] & ~1) == first;
        if (is_second || first == 2 * list.individual) continue;
        listed = std::lower_bound(listed, list.pairs.end(), first, is_before);
        pair_candidate pair = added_pair(first, mask, {list.pairs.begin(), listed}, list);
        if (listed != list.pairs.end() && listed->first == first)
            pair.replaced = std::min(listed->distance[0], listed->distance[1]);
        list.added.push_back(pair);
    }
}

/// The candidate for an added pair. `before` are those that were listed for earlier pairs.
pair_candidate hamming_selection::added_pair(int first, const haplotype_mask& mask,
                                             std::span<const pair_candidate> before,
                                             const candidate_list& list) const {
    const int limit = before.empty() ? DISTANCE_BEYOND_LIMIT : before.back().limit;
    pair_candidate pair = candidate(first, &mask, limit, list);
    if (!pair.needs_draws) return pair;
    for (const pair_candidate& earlier : before) {
        if (earlier.needs_draws) continue;
        for (const int distance : earlier.distance)
            for (int i = 0; i < 2; ++i) pair.n_nearer[i] += distance <= pair.distance[i];
    }
    return pair;
}

void hamming_selection::draw(random_source& random, candidate_list& list) {
    offered.clear();
    withdrawn.clear();
    auto added = list.added.begin();
    for (const int number : list.to_draw) {
        for (; added != list.added.end() && added->first < list.pairs[number].first; ++added)
            draw_pair(*added, random);
        draw_pair(list.pairs[number], random);
    }
    for (; added != list.added.end(); ++added) draw_pair(*added, random);
}

void hamming_selection::draw_pair(pair_candidate& pair, random_source& random) {
    if (pair.needs_draws && is_near(pair, 0) && is_near(pair, 1))
        for (int i = 0; i < 2; ++i) pair.is_taken[i] = pair.chance[i] > random.draw();
    for (int i = 0; i < 2; ++i)
        if (pair.is_taken[i]) offered.push_back(pair.distance[i]);
    if (pair.replaced != DISTANCE_BEYOND_LIMIT) withdrawn.push_back(pair.replaced);
}

/// Whether haplotype `i` of a pair is below the limit of the heap: whether fewer than K of those offered
/// before are at most as far. It does not matter that this also counts those which were beyond the limit
/// themselves, since then K others are nearer.
bool hamming_selection::is_near(const pair_candidate& pair, int i) const {
    const int distance = pair.distance[i];
    const auto n_up_to = [distance](const std::vector<int>& some) {
        int n = 0;
        for (const int d : some) n += d <= distance;
        return n;
    };
    return n_wanted < 1 || pair.n_nearer[i] + n_up_to(offered) - n_up_to(withdrawn) < n_wanted;
}

int hamming_selection::choose(const candidate_list& list, std::vector<int>& idx) {
    idx.clear();
    closest_heap found(n_wanted, heap);
    auto added = list.added.begin();
    for (const pair_candidate& pair : list.pairs) {
        for (; added != list.added.end() && added->first < pair.first; ++added) offer_pair(*added, found);
        if (added == list.added.end() || added->first != pair.first) offer_pair(pair, found);
    }
    for (; added != list.added.end(); ++added) offer_pair(*added, found);
    // A haplotype of the panel is offered once for each target; both entries may stay. It is pushed whatever
    // the limit, and the heap is trimmed.
    for (int h = n_study; h < static_cast<int>(H.size()); ++h) {
        const int limit = found.limit();
        for (const std::vector<int>& distance : list.panel) {
            const int d = distance[h - n_study];
            found.push(h, d > limit ? DISTANCE_BEYOND_LIMIT : d);
        }
        found.trim();
    }
    return found.drain(idx, list.range.last_locus - list.range.first_locus);
}

void hamming_selection::offer_pair(const pair_candidate& pair, closest_heap& found) const {
    const int limit = found.limit();
    for (int i = 0; i < 2; ++i)
        if (pair.distance[i] < limit && pair.is_taken[i]) found.push(pair.first + i, pair.distance[i]);
    found.trim();
}

std::array<double, 2> chances_of_pair(const chaplotype& c0, const chaplotype& c1, const chaplotype& h0,
                                      const chaplotype& h1, int first, int last) {
    const auto [only0, only1, both] = bit_kernels::kernels().overlap(
        c0.data.data(), c1.data.data(), h0.data.data(), h1.data.data(), first, last);
    // 0 / 0 is NaN.
    return {static_cast<double>(only0) / (only0 + both), static_cast<double>(only1) / (only1 + both)};
}
