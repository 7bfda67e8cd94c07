#pragma once

#include <span>
#include <string>
#include <vector>

#include "containers/genhap_set.h"
#include "models/copying_rates.h"
#include "modules/worker_team.h"
#include "selection/match_survey.h"
#include "selection/site_orders.h"
#include "utils/random_source.h"

/// What a user can choose about the rates of the copying model. A rate or probability of 0 follows the
/// matches.
struct learning_settings {
    double step = 0.02;             // cM from one site to the next
    double jumps_per_cm = 0.0;      // rate at which the copied haplotype changes
    double mismatch = 0.0;          // probability that an allele differs from the copied one
    double most_order_bytes = 1e9;  // for orders that are kept at a time, if a window of them needs no more
    long seed = 1;
};

/// Learns the rates of the copying model from the longest matches of the current haplotypes at sites along
/// the chromosome. Sites are chosen at random from streams of its own, one for each iteration, so that the
/// run's generator is not used.
class rate_learner {
  public:
    /// Mismatches have at least this probability, which lets single wrong genotypes pass; where there are
    /// none, it does no harm. At most this one, so that alleles still tell haplotypes apart.
    static constexpr double LEAST_MISMATCH = 1e-3, MOST_MISMATCH = 1e-2;

    /// `set` and `team` are held by reference.
    rate_learner(const genhap_set& set, const learning_settings& settings, worker_team& team);

    /// Starts an iteration with new sites. Returns the stream of the iteration, for further draws.
    random_source start_iteration();
    /// Learns the rates, as site_orders::survey does with sites and `starts` of stretches.
    void learn(std::span<const int> starts);
    /// Sites of a stretch whose orders need no more memory than the settings allow, at least one.
    int most_sites() const;

    /// The loci of the sites, in ascending order.
    const std::vector<int>& sites() const { return site_loci; }
    /// The orders at the sites of the open stretch.
    site_orders& orders() { return kept; }
    const site_orders& orders() const { return kept; }
    /// The rates for an individual. Its jumps per cM are rounded to one of some classes.
    const copying_rates& rates(int individual) const { return classes[class_of[individual]]; }
    /// Jumps per cM of the whole cohort, 0 before anything has been learned.
    double jumps_per_cm() const { return rate; }
    double mismatch() const { return mismatch_probability; }
    /// A line of the log about the rates.
    std::string text() const;

  private:
    void choose_sites(random_source& random);
    void classify(const match_survey& survey);

    const genhap_set& GH;
    learning_settings settings;
    worker_team& team;
    int iteration = 0;
    std::vector<int> site_loci;
    std::vector<int> strangers;  // for each site, see match_survey::add
    site_orders kept;
    double rate, mismatch_probability;
    std::vector<copying_rates> classes;
    std::vector<unsigned char> class_of;  // each individual
};
