#include <algorithm>
#include <chrono>
#include <cmath>

#include "containers/closest_heap.h"
#include "containers/genhap_set.h"
#include "containers/haplotype_distance.h"
#include "objects/bit_kernels.h"
#include "utils/assertion.h"
#include "utils/putils.h"

namespace {

/// Adds the seconds of its life to a total, and sets the order of the heap.
class selection_timer {
  public:
    explicit selection_timer(std::atomic<long>& seconds) : total(seconds), start(clock::now()) {
        haplotype_distance::minimise.store(true, std::memory_order_relaxed);
    }
    ~selection_timer() {
        total.fetch_add(std::chrono::duration_cast<std::chrono::seconds>(clock::now() - start).count(),
                        std::memory_order_relaxed);
    }
    selection_timer(const selection_timer&) = delete;
    selection_timer& operator=(const selection_timer&) = delete;

  private:
    using clock = std::chrono::steady_clock;
    std::atomic<long>& total;
    clock::time_point start;
};

/// Memory of a selection. It lives with its thread, so that a selection allocates nothing.
struct selection_memory {
    struct marked_pair {
        int pair;   // its first haplotype
        int marks;  // bit 0 if that is marked, bit 1 if the second one is
    };

    /// Lists what is marked among the haplotypes of individuals, and the tiles that hold that or haplotypes
    /// of the panel. Entries are written in any case and stay if the count moves on: a branch would be
    /// guessed wrong too often.
    void list_marked(const haplotype_mask& mask, int n_study) {
        list.resize(n_study / 2 + 1);
        std::size_t n = 0;
        for (int h = 0; h < n_study; h += 2) {
            list[n] = {h, mask[h] + 2 * mask[h + 1]};
            n += list[n].marks != 0;
        }
        list.resize(n);
        tiles.resize((mask.size() + bit_kernels::TILE - 1) / bit_kernels::TILE + 1);
        n = 0;
        const auto add = [this, &n](int tile) {
            tiles[n] = tile;
            n += n == 0 || tiles[n - 1] != tile;
        };
        for (const marked_pair& marked : list) add(marked.pair / bit_kernels::TILE);
        for (int h = n_study; h < static_cast<int>(mask.size()); ++h) add(h / bit_kernels::TILE);
        tiles.resize(n);
    }

    std::vector<haplotype_distance> heap;
    std::vector<marked_pair> list;
    std::vector<int> tiles;
    std::vector<int> to_t0, to_t1;  // distances to the targets
};

/// One selection: an individual's two haplotypes, a range of loci, and the best haplotypes so far.
///
/// All distances are computed first, in one stream over the packed haplotypes. The steps that follow replay
/// them in order against a limit that falls as the heap fills.
class selection {
  public:
    selection(const std::vector<chaplotype>& haplotypes, int individual, int K, int first_locus,
              int last_locus, selection_memory& memory)
        : H(haplotypes),
          ind(individual),
          T0(H[2 * ind]),
          T1(H[2 * ind + 1]),
          first(first_locus),
          last(last_locus),
          d0(memory.to_t0),
          d1(memory.to_t1),
          found(K, memory.heap) {}

    /// Computes the distances of all haplotypes of some tiles.
    void scan(const haplotype_tiles& tiles, const std::vector<int>& of_tiles) {
        TOLVANE_ASSERT(tiles.size() == static_cast<int>(H.size()), "tiles.size() == vecH.size()");
        const int first_byte = first >> 3, n_bytes = (last >> 3) - first_byte + 1;
        tiles.distances(of_tiles, 2 * ind, 2 * ind + 1, first_byte, n_bytes, d0, d1);
    }

    /// Offers both haplotypes of another individual, `c0` and the one behind it. When each of them is closest
    /// to another target, chance decides how much of both is worth having.
    void offer_pair(int c0) {
        const int c1 = c0 + 1, limit = found.limit();
        if (std::min(nearest(c0), nearest(c1)) >= limit) return;
        bool take0 = nearest(c0) < limit, take1 = nearest(c1) < limit;
        // Equal distances count as closest to the first target.
        const bool same_target = (d1[c0] < d0[c0]) == (d1[c1] < d0[c1]);
        if (take0 && take1 && !same_target) {
            const int verdict = non_overlapping_hamming_distance(H[c0], H[c1], T0, T1, first, last);
            take0 = verdict == 2 || verdict == 0;
            take1 = verdict == 2 || verdict == 1;
        }
        if (take0) found.push(c0, nearest(c0));
        if (take1) found.push(c1, nearest(c1));
        found.trim();
    }

    /// Offers one haplotype of another individual.
    void offer_single(int h) {
        if (nearest(h) >= found.limit()) return;
        found.push(h, nearest(h));
        found.trim();
    }

    /// Offers a haplotype of the panel, once for each target; it may stay twice. No test keeps it out: the
    /// heap takes it and trims it.
    void offer_reference(int h) {
        const int limit = found.limit();
        found.push(h, d0[h] > limit ? DISTANCE_BEYOND_LIMIT : d0[h]);
        found.push(h, d1[h] > limit ? DISTANCE_BEYOND_LIMIT : d1[h]);
        found.trim();
    }

    int finish(std::vector<int>& idx) { return found.drain(idx, last - first); }

  private:
    int nearest(int h) const { return std::min(d0[h], d1[h]); }

    const std::vector<chaplotype>& H;
    int ind;
    const chaplotype& T0;
    const chaplotype& T1;
    int first;
    int last;
    std::vector<int>& d0;
    std::vector<int>& d1;
    closest_heap found;
};

}  // namespace

int genhap_set::subsetHaplotypes_hamming(int ind, int K, int first, int last, std::vector<int>& idx) {
    const selection_timer timer(time_hamming);
    thread_local selection_memory memory;
    idx.clear();
    selection closest(vecH, ind, K, first, last, memory);
    closest.scan(tiles, tiles.all());
    const int n_study = 2 * static_cast<int>(vecG.size()), n_haps = static_cast<int>(vecH.size());
    for (int h = 0; h < n_study; h += 2)
        if (h != 2 * ind) closest.offer_pair(h);
    for (int h = n_study; h < n_haps; ++h) closest.offer_reference(h);
    return closest.finish(idx);
}

int genhap_set::subsetHaplotypes_hamming(const haplotype_mask& mask, int ind, int K, int first, int last,
                                         std::vector<int>& idx) {
    const selection_timer timer(time_hamming);
    thread_local selection_memory memory;
    idx.clear();
    TOLVANE_ASSERT(mask.size() == vecH.size(), "mask.size() == vecH.size()");
    const int n_study = 2 * static_cast<int>(vecG.size()), n_haps = static_cast<int>(vecH.size());
    memory.list_marked(mask, n_study);
    selection closest(vecH, ind, K, first, last, memory);
    closest.scan(tiles, memory.tiles);
    for (const auto [pair, marks] : memory.list) {
        if (marks == 3)
            closest.offer_pair(pair);
        else
            closest.offer_single(pair + (marks >> 1));
    }
    for (int h = n_study; h < n_haps; ++h) closest.offer_reference(h);
    return closest.finish(idx);
}

int non_overlapping_hamming_distance(const chaplotype& c0, const chaplotype& c1, const chaplotype& h0,
                                     const chaplotype& h1, int first, int last) {
    const auto [only0, only1, both] = bit_kernels::kernels().overlap(c0, c1, h0, h1, first, last);
    // 0/0 is no number, and no draw lies below it.
    const double p0 = static_cast<double>(only0) / (only0 + both);
    const double p1 = static_cast<double>(only1) / (only1 + both);
    const double r0 = putils::getRandom();
    const double r1 = putils::getRandom();
    const bool keep0 = p0 > r0, keep1 = p1 > r1;
    if (keep0 && keep1) return 2;
    if (keep1) return 1;
    return keep0 ? 0 : -1;
}
