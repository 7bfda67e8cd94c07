#pragma once

#include <span>
#include <vector>

#include "containers/genhap_set.h"
#include "modules/worker_team.h"
#include "selection/match_orders.h"

/// What the longest matches of the current haplotypes tell about jumps and mismatches of the copying model.
///
/// The longest match of a haplotype ends where the copied haplotype changes, a jump, or where just one allele
/// differs, a mismatch, or where one of the two has a wrong phase. Behind a jump, two haplotypes agree no
/// longer than any two do there. Behind a mismatch they agree as long again as before; behind a wrong phase,
/// the genotypes of the one agree with the other haplotype as long again. So the mean lengths of agreement
/// behind the ends of matches tell which shares of the ends are jumps and mismatches.
class match_survey {
  public:
    /// Every STRIDE-th site is measured, for each individual others.
    static constexpr int STRIDE = 4;
    /// Individuals, evenly spread over the cohort, for what is the same for all of them.
    static constexpr int MOST_COMPARED = 250;

    /// `set` is held by reference.
    explicit match_survey(const genhap_set& set);

    /// Adds the longest matches of the individuals' haplotypes on the right of `sites`, whose orders are
    /// `to_right`. `strangers` has a number for each site: haplotype (h + number) % n_haplotypes stands for
    /// any other haplotype than h there. `first_site` is the number of the first of these sites among all.
    void add(const match_orders& to_right, int first_site, std::span<const int> sites,
             std::span<const int> strangers, worker_team& team);
    /// Has to be called when all sites have been added, before any result is asked for.
    void finish();

    /// Jumps per cM of the whole cohort. Positive.
    double jumps_per_cm() const { return jumps_of(all); }
    /// Jumps per cM of an individual: those of its matches and, with a tenth of the weight, those of all.
    double jumps_per_cm(int individual) const;
    /// The probability that an allele differs from the copied one: ends that are mismatches, over all alleles
    /// of the matches. 0 to 1.
    double mismatch() const;

  private:
    /// Stretches of agreement of one kind.
    struct lengths {
        double cm = 0.0;
        double n_alleles = 0.0;
        double n_ended = 0.0;  // those that end before the chromosome does

        /// Adds those of `o`, `weight` times.
        void add(const lengths& o, double weight);
        double mean() const;
    };
    /// The longest matches, and the agreement of genotypes with the other haplotype behind their ends.
    struct findings {
        lengths matches, behind;

        void add(const findings& o, double weight);
    };
    /// Agreement of haplotypes behind the ends of matches, and that of any two haplotypes; that of genotypes
    /// with any haplotype.
    struct comparisons {
        lengths behind, chance, chance_of_genotypes;
    };

    void measure(int h, int s, const match_orders& to_right, int site, int stranger, comparisons* compared);
    void compare(int h, int nearest, int stranger, int end, comparisons& out) const;
    int next_difference(int h, int other, int locus) const;
    int next_conflict(int h, int other, int locus) const;
    void add_stretch(int first, int end, lengths& out) const;
    double jumps_of(const findings& of) const;

    const genhap_set& GH;
    int n_compared;
    std::vector<findings> personal;    // of each individual
    std::vector<comparisons> samples;  // of each compared individual
    findings all;
    comparisons compared;
};
