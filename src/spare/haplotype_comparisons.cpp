#include "spare/haplotype_comparisons.h"

#include <algorithm>
#include <bit>

namespace spare {

namespace {

constexpr std::array<std::int32_t, 256> count_bits() {
    std::array<std::int32_t, 256> counts{};
    for (unsigned i = 0; i < counts.size(); ++i) counts[i] = std::popcount(i);
    return counts;
}

/// Follows one of two references and switches to the other one when it no longer matches.
class follower {
  public:
    /// Processes a locus where at least one reference matches. At the first such locus, starts with the
    /// second reference if `start_second`.
    void step(bool start_second, bool equals_first, bool equals_second) {
        if (state == UNSET) state = start_second ? SECOND : FIRST;
        if (state == FIRST && !equals_first) {
            ++n_switch;
            state = SECOND;
        } else if (state == SECOND && !equals_second) {
            ++n_switch;
            state = FIRST;
        }
    }
    int n_switch = 0;

  private:
    enum { UNSET, FIRST, SECOND } state = UNSET;
};

}  // namespace

const std::array<std::int32_t, 256> distance_lookup = count_bits();

int hamming_within(const chaplotype& a, const chaplotype& b, int first, int last, int limit) {
    const int distance = a.hamming(b, first, last);
    return distance > limit && first >> 3 <= last >> 3 ? DISTANCE_BEYOND_LIMIT : distance;
}

int perfectmatch(const chaplotype& a, const chaplotype& b, int first, int last, int min_length) {
    int run = 0, best = 0;
    int rest = 8 * ((last >> 3) - (first >> 3));
    for (int byte = first >> 3; byte <= last >> 3; ++byte) {
        if (a.data[byte] != b.data[byte]) {
            best = std::max(best, run);
            run = 0;
        } else {
            run += 8;
        }
        // The bound is on the bytes that are left; the current run does not count towards it.
        if (min_length > rest) return 0;
        rest -= 8;
    }
    return std::max(best, run);
}

void switcherror(const chaplotype& h, const chaplotype& a, const chaplotype& b, int first, int last,
                 int& n_switch, int& n_mismatch) {
    follower path;
    n_mismatch = 0;
    for (int l = first; l <= last; ++l) {
        const int x = h.get(l), p = a.get(l), q = b.get(l);
        if (x != p && x != q)
            ++n_mismatch;
        else
            path.step(x == q, x == p, x == q);
    }
    n_switch = path.n_switch;
}

void switcherror(const chaplotype& h0, const chaplotype& h1, const chaplotype& t0, const chaplotype& t1,
                 int first, int last, int& n_switch, int& n_mismatch) {
    follower path;
    n_mismatch = 0;
    for (int l = first; l <= last; ++l) {
        const int x0 = h0.get(l), x1 = h1.get(l), y0 = t0.get(l), y1 = t1.get(l);
        if (x0 + x1 != y0 + y1)
            ++n_mismatch;
        else
            path.step(x1 == y0, x0 == y0, x0 == y1);
    }
    n_switch = path.n_switch;
}

}  // namespace spare
