#include "selection/rate_learner.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "utils/sutils.h"

namespace {

// Classes of rates, a factor of the square root of 2 apart.
constexpr int N_CLASSES = 21, COHORT_CLASS = 14;
constexpr double LOWEST_CLASS = 1.0 / 128.0;  // its factor, the square root of 2 to the power of -14

/// A seed for the stream of an iteration: the bits of both numbers, mixed (Steele, Lea and Flood 2014).
long seed_of_stream(long seed, int iteration) {
    constexpr std::uint64_t MOST_SEEDS = 2'147'483'646;
    std::uint64_t x = static_cast<std::uint64_t>(seed) << 32 | static_cast<std::uint32_t>(iteration);
    x += 0x9E3779B97F4A7C15;
    x = (x ^ x >> 30) * 0xBF58476D1CE4E5B9;
    x = (x ^ x >> 27) * 0x94D049BB133111EB;
    return static_cast<long>((x ^ x >> 31) % MOST_SEEDS) + 1;
}

}  // namespace

rate_learner::rate_learner(const genhap_set& set, const learning_settings& chosen, worker_team& workers)
    : GH(set),
      settings(chosen),
      team(workers),
      kept(set, workers),
      rate(chosen.jumps_per_cm),
      mismatch_probability(chosen.mismatch) {}

random_source rate_learner::start_iteration() {
    random_source own(seed_of_stream(settings.seed, iteration++));
    choose_sites(own);
    return own;
}

/// Draws one variant of each stretch of settings.step cM that has any, and the number of a stranger.
void rate_learner::choose_sites(random_source& random) {
    const int n_others = std::max(GH.n_haplotypes() - 1, 1);
    site_loci.clear();
    strangers.clear();
    const auto stretch_of = [&](int locus) {
        return std::floor(GH.snps.getByIndex(locus)->cm / settings.step);
    };
    for (int first = 0, end = 0; first < GH.snps.size(); first = end) {
        while (end < GH.snps.size() && stretch_of(end) == stretch_of(first)) ++end;
        site_loci.push_back(first + random.draw_below(end - first));
        strangers.push_back(1 + random.draw_below(n_others));
    }
}

int rate_learner::most_sites() const {
    const double bytes = 2.0 * match_orders::bytes_per_site(GH.n_haplotypes(), 2 * GH.n_individuals());
    return static_cast<int>(std::clamp(settings.most_order_bytes / bytes, 1.0, 1e9));
}

void rate_learner::learn(std::span<const int> starts) {
    match_survey survey(GH);
    kept.survey(site_loci, starts, [&](int k) {
        const auto of_stretch = [&](const std::vector<int>& all) {
            return std::span(all).subspan(starts[k], starts[k + 1] - starts[k]);
        };
        survey.add(kept.to_right(), starts[k], of_stretch(site_loci), of_stretch(strangers), team);
    });
    survey.finish();
    rate = settings.jumps_per_cm > 0.0 ? settings.jumps_per_cm : survey.jumps_per_cm();
    mismatch_probability = settings.mismatch > 0.0
                               ? settings.mismatch
                               : std::clamp(survey.mismatch(), LEAST_MISMATCH, MOST_MISMATCH);
    classify(survey);
}

/// Puts each individual into the class whose rate is the nearest on a logarithmic scale.
void rate_learner::classify(const match_survey& survey) {
    class_of.assign(GH.n_individuals(), COHORT_CLASS);
    classes.assign(N_CLASSES, {});
    std::vector<double> rates = {rate * LOWEST_CLASS};
    while (rates.size() < N_CLASSES) rates.push_back(rates.back() * std::sqrt(2.0));
    if (settings.jumps_per_cm <= 0.0)
        for (int ind = 0; ind < GH.n_individuals(); ++ind) {
            const double own = survey.jumps_per_cm(ind);
            int c = 0;
            while (c + 1 < N_CLASSES && own * own > rates[c] * rates[c + 1]) ++c;
            class_of[ind] = static_cast<unsigned char>(c);
        }
    for (int c = 0; c < N_CLASSES; ++c)
        if (std::ranges::find(class_of, c) != class_of.end()) {
            classes[c].set_jumps(GH.snps, rates[c]);
            classes[c].set_mismatch(mismatch_probability);
        }
}

std::string rate_learner::text() const {
    return sutils::double2str(rate, 3) + " jumps per cM, mismatch probability " +
           sutils::double2str(mismatch_probability, 6);
}
