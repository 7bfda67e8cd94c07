#include <algorithm>
#include <chrono>
#include <cmath>

#include "containers/genhap_set.h"
#include "containers/haplotype_distance.h"
#include "utils/putils.h"

namespace {

/// The best haplotypes found so far, at most `K` once trimmed. The heap rules of the GNU library decide which
/// of several equally distant haplotypes stay.
class closest_heap {
  public:
    explicit closest_heap(int K) : capacity(K) {}

    /// A distance has to lie below this one to be worth a place.
    int limit() const {
        const bool full = !heap.empty() && static_cast<int>(heap.size()) >= capacity;
        return full ? heap.front().dist : DISTANCE_BEYOND_LIMIT;
    }
    void push(int h, int distance) {
        heap.push_back({h, distance});
        std::push_heap(heap.begin(), heap.end());
    }
    void trim() {
        while (static_cast<int>(heap.size()) > std::max(capacity, 0)) pop();
    }
    /// Empties the heap into `idx`, the largest distance first; returns the smallest, or `best` if smaller.
    int drain(std::vector<int>& idx, int best) {
        while (!heap.empty()) {
            idx.push_back(heap.front().idx);
            best = std::min(best, heap.front().dist);
            pop();
        }
        return best;
    }

  private:
    void pop() {
        std::pop_heap(heap.begin(), heap.end());
        heap.pop_back();
    }

    int capacity;
    std::vector<haplotype_distance> heap;
};

/// One selection: an individual's two haplotypes, a range of loci, and the best haplotypes so far.
class selection {
  public:
    selection(const std::vector<chaplotype>& haplotypes, int ind, int K, int first_locus, int last_locus)
        : H(haplotypes), T0(H[2 * ind]), T1(H[2 * ind + 1]), first(first_locus), last(last_locus), found(K) {}

    /// Offers both haplotypes of another individual. When each of them is closest to another target, chance
    /// decides how much of both is worth having.
    void offer_pair(int c0, int c1) {
        const int limit = found.limit();
        const nearest n0 = nearest_target(H[c0], limit), n1 = nearest_target(H[c1], limit);
        bool take0 = n0.target >= 0, take1 = n1.target >= 0;
        if (take0 && take1 && n0.target != n1.target) {
            const int verdict = non_overlapping_hamming_distance(H[c0], H[c1], T0, T1, first, last);
            take0 = verdict == 2 || verdict == 0;
            take1 = verdict == 2 || verdict == 1;
        }
        if (take0) found.push(c0, n0.distance);
        if (take1) found.push(c1, n1.distance);
        found.trim();
    }

    /// Offers one haplotype of another individual.
    void offer_single(int c) {
        const int limit = found.limit();
        const int d0 = H[c].hamming(T0, first, last, limit);
        const int d1 = H[c].hamming(T1, first, last, limit);
        if (std::min(d0, d1) < limit) found.push(c, std::min(d0, d1));
        found.trim();
    }

    /// Offers a haplotype of the panel, once for each target; it may stay twice.
    void offer_reference(int h) {
        const int limit = found.limit();
        const int d0 = H[h].hamming(T0, first, last, limit);
        const int d1 = H[h].hamming(T1, first, last, limit);
        found.push(h, d0);
        found.push(h, d1);
        found.trim();
    }

    int finish(std::vector<int>& idx) { return found.drain(idx, last - first); }

  private:
    struct nearest {
        int target;  // 0 or 1, -1 when neither is nearer than the limit
        int distance;
    };
    nearest nearest_target(const chaplotype& c, int limit) const {
        const int d0 = c.hamming(T0, first, last, limit);
        const int d1 = c.hamming(T1, first, last, limit);
        nearest n{-1, limit};
        if (d0 < n.distance) n = {0, d0};
        if (d1 < n.distance) n = {1, d1};
        return n;
    }

    const std::vector<chaplotype>& H;
    const chaplotype& T0;
    const chaplotype& T1;
    int first;
    int last;
    closest_heap found;
};

}  // namespace

template <class Offer>
int genhap_set::select_closest(int ind, int K, int first, int last, std::vector<int>& idx, Offer offer) {
    const auto start = std::chrono::steady_clock::now();
    haplotype_distance::minimise.store(true, std::memory_order_relaxed);
    idx.clear();
    selection closest(vecH, ind, K, first, last);
    const int n_study = 2 * static_cast<int>(vecG.size()), n_haps = static_cast<int>(vecH.size());
    for (int h = 0; h < n_study; h += 2) offer(closest, h);
    for (int h = n_study; h < n_haps; ++h) closest.offer_reference(h);
    const int best = closest.finish(idx);
    const auto spent = std::chrono::steady_clock::now() - start;
    time_hamming.fetch_add(std::chrono::duration_cast<std::chrono::seconds>(spent).count(),
                           std::memory_order_relaxed);
    return best;
}

int genhap_set::subsetHaplotypes_hamming(int ind, int K, int first, int last, std::vector<int>& idx) {
    return select_closest(ind, K, first, last, idx, [ind](auto& closest, int h) {
        if (h != 2 * ind) closest.offer_pair(h, h + 1);
    });
}

int genhap_set::subsetHaplotypes_hamming(const std::vector<bool>& mask, int ind, int K, int first, int last,
                                         std::vector<int>& idx) {
    return select_closest(ind, K, first, last, idx, [&mask](auto& closest, int h) {
        if (mask[h] && mask[h + 1])
            closest.offer_pair(h, h + 1);
        else if (mask[h] || mask[h + 1])
            closest.offer_single(mask[h] ? h : h + 1);
    });
}

int non_overlapping_hamming_distance(const chaplotype& c0, const chaplotype& c1, const chaplotype& h0,
                                     const chaplotype& h1, int first, int last) {
    int only0 = 0, only1 = 0, both = 0;
    for (int l = first; l <= last; ++l) {
        const bool match0 = h0.get(l) == c0.get(l), match1 = h1.get(l) == c1.get(l);
        if (match0 && match1)
            both += h0.get(l) != h1.get(l);  // a locus where all four agree tells nothing
        else {
            only0 += match0;
            only1 += match1;
        }
    }
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
