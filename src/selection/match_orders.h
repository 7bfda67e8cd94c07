#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "containers/allele_rows.h"
#include "selection/prefix_order.h"

/// A way along the chromosome: first and last locus, both inclusive; to the left if the last is the smaller
/// one.
struct locus_path {
    int first, last;
};

/// The prefix orders of all haplotypes at some chosen loci, for moves in one direction.
class match_orders {
  public:
    /// Moves `order`, which has taken the first order.steps() loci of `path`, on to each of `sites` and keeps
    /// it there, behind the step that takes the alleles of the site. Sites are in ascending order and lie
    /// ahead of the order. Matches of the first `n_study` haplotypes can be looked up.
    void fill(const allele_rows& rows, locus_path path, prefix_order& order, std::span<const int> sites,
              int n_study);

    /// Memory for each site, in bytes.
    static double bytes_per_site(int n_haplotypes, int n_study) {
        return static_cast<double>(sizeof(prefix_order::entry)) * n_haplotypes +
               static_cast<double>(sizeof(std::uint32_t)) * n_study;
    }

    /// Calls note(other, locus) for up to `depth` haplotypes that agree longest with haplotype `h` on the way
    /// to site number `s` of those kept, the longest match first; on ties those that stand before `h` in the
    /// order come first. The match reaches from `locus` to the site, both inclusive. Haplotypes that do not
    /// agree at the site are left out, and so is the other haplotype of the same individual, h ^ 1.
    template <class Note>
    void nearest(int s, int h, int depth, Note note) const {
        const prefix_order::entry* order = order_at(s);
        const std::uint32_t none = n_steps[s], own_pair = static_cast<std::uint32_t>(h) >> 1;
        // The next ones are entries before - 1 and after; the matches with them start at these steps. Which
        // of them is nearer cannot be predicted, so both sides are updated without a branch.
        std::uint32_t before = rank(s, h), after = before + 1;
        std::uint32_t start_before = order[before].start, start_after = order[after].start;
        while (depth > 0) {
            const bool is_before = start_before <= start_after;
            const std::uint32_t start = is_before ? start_before : start_after;
            if (start >= none) return;
            const std::uint32_t other = order[is_before ? before - 1 : after].haplotype;
            before -= is_before ? 1 : 0;
            after += is_before ? 0 : 1;
            const std::uint32_t next = std::max(start, order[is_before ? before : after].start);
            start_before = is_before ? next : start_before;
            start_after = is_before ? start_after : next;
            if (other >> 1 == own_pair) continue;
            note(static_cast<int>(other), way.first + direction() * static_cast<int>(start));
            --depth;
        }
    }
    /// Lets the processor load what nearest(s, h) will read.
    void prefetch(int s, int h) const { __builtin_prefetch(order_at(s) + rank(s, h)); }

  private:
    int direction() const { return way.first <= way.last ? 1 : -1; }
    const prefix_order::entry* order_at(int s) const {
        return entries.data() + static_cast<std::size_t>(s) * n_entries;
    }
    std::uint32_t rank(int s, int h) const { return ranks[static_cast<std::size_t>(h) * n_steps.size() + s]; }
    void keep(std::size_t s, const prefix_order& order);

    locus_path way{};
    std::size_t n_entries = 0;
    std::uint32_t n_ranked = 0;
    // n_entries for each site: those of its order, and one behind them that agrees with nobody.
    std::vector<prefix_order::entry> entries;
    std::vector<std::uint32_t> ranks;    // one for each site of each haplotype: its place in the order
    std::vector<std::uint32_t> n_steps;  // taken to each site
};
