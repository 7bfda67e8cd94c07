#pragma once

#include <cstdint>
#include <span>
#include <vector>

/// The order of haplotypes by their reversed prefixes (positional Burrows-Wheeler transform: Durbin 2014,
/// Bioinformatics 30:1266), moved over the loci one step at a time, in either direction. Haplotypes whose
/// alleles agree over the last steps stand next to each other; equal ones stand in ascending order.
class prefix_order {
  public:
    /// One haplotype in the order.
    struct entry {
        std::uint32_t haplotype;
        std::uint32_t
            start;  // first step since which it agrees with the entry before; steps() if it does not
    };

    /// Starts with `n` haplotypes in ascending order, before the first step.
    explicit prefix_order(int n);

    /// Takes the alleles of the next locus, a row of allele_rows.
    void step(std::span<const std::uint64_t> alleles);

    std::span<const entry> entries() const { return order; }
    /// Number of steps taken.
    std::uint32_t steps() const { return n_steps; }

  private:
    std::vector<entry> order;
    std::vector<entry> seconds;  // working memory: the haplotypes with allele 1
    std::uint32_t n_steps = 0;
};
