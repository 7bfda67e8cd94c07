#include "selection/match_selector.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include "objects/chaplotype.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

namespace {

// A window is a little longer than the part of a copied stretch on one side of a site. In shorter ones too
// much is next to a border; in longer ones, the haplotypes selected are further from being the best at each
// place.
constexpr double STRETCHES_IN_WINDOW = 1.25;
constexpr int LEAST_IN_WINDOW = 200, MOST_IN_WINDOW = 20'000;  // variants
constexpr int MOST_MEASURED = 1000;                            // individuals whose matches are measured
constexpr int LEAST_SELECTED = 8;                              // if there are as many haplotypes

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

/// Selects for the jobs of an individual.
class match_selector::match_worker : public conditioning_selector::worker {
  public:
    explicit match_worker(const match_selector& selector) : S(selector), counts(S.GH.n_haplotypes(), 0) {}

    void measure(std::span<const phasing_job> jobs) override {
        if (selected.size() < jobs.size()) selected.resize(jobs.size());
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            count_notes(jobs[i]);
            take_most_noted(selected[i]);
            fill_up(jobs[i].individual, selected[i]);
            std::ranges::sort(selected[i]);
        }
    }
    void draw(random_source& /*random: nothing is drawn*/) override {}
    int choose(int i, std::vector<int>& idx) override {
        idx = selected[i];
        return DISTANCE_BEYOND_LIMIT;
    }

  private:
    void count_notes(const phasing_job& job);
    void take_most_noted(std::vector<int>& out);
    void fill_up(int individual, std::vector<int>& out) const;

    const match_selector& S;
    std::vector<int> counts;     // notes of each haplotype; all 0 between two jobs
    std::vector<int> noted;      // haplotypes with notes
    std::vector<int> histogram;  // haplotypes by number of notes
    std::vector<int> ties;
    std::vector<std::vector<int>> selected;  // of the measured jobs, and memory for more
};

/// Counts the notes of both haplotypes of the individual at the sites of the window, or at the next site if
/// the window has none.
void match_selector::match_worker::count_notes(const phasing_job& job) {
    const std::vector<int>& sites = S.site_loci;
    const int n_sites = static_cast<int>(sites.size());
    const auto first_from = [&](int locus) {
        return static_cast<int>(std::ranges::lower_bound(sites, locus) - sites.begin());
    };
    const int first = std::min(first_from(job.range.first_locus), n_sites - 1);
    const int end = std::max(first_from(job.range.last_locus + 1), first + 1);
    const auto note = [this](int h, int /*locus*/) {
        if (counts[h]++ == 0) noted.push_back(h);
    };
    noted.clear();
    constexpr int AHEAD = 4;  // sites, for the memory to answer in time
    for (int s = first; s < end; ++s)
        for (const int h : haplotypes_of(job.individual)) {
            if (s + AHEAD < end) {
                S.from_left.prefetch(s + AHEAD, h);
                S.from_right.prefetch(s + AHEAD, h);
            }
            S.from_left.nearest(s, h, S.settings.depth, note);
            S.from_right.nearest(s, h, S.settings.depth, note);
        }
}

/// Takes the haplotypes with most notes; on ties those with the smallest indexes. Resets the counts.
void match_selector::match_worker::take_most_noted(std::vector<int>& out) {
    const int n_wanted = S.settings.n_states, n = static_cast<int>(noted.size());
    int least = 1, n_of_least = n;  // the smallest count that is taken, and how many haplotypes with it
    if (n > n_wanted) {
        histogram.clear();
        for (const int h : noted) {
            if (counts[h] >= static_cast<int>(histogram.size())) histogram.resize(counts[h] + 1, 0);
            ++histogram[counts[h]];
        }
        least = static_cast<int>(histogram.size()) - 1;
        n_of_least = n_wanted;
        while (histogram[least] < n_of_least) n_of_least -= histogram[least--];
    }
    out.clear();
    ties.clear();
    for (const int h : noted) {
        if (counts[h] > least) out.push_back(h);
        if (counts[h] == least) ties.push_back(h);
        counts[h] = 0;
    }
    n_of_least = std::min(n_of_least, static_cast<int>(ties.size()));
    std::nth_element(ties.begin(), ties.begin() + n_of_least, ties.end());
    out.insert(out.end(), ties.begin(), ties.begin() + n_of_least);
}

/// Adds the first haplotypes of other individuals if hardly any were noted, as in a tiny cohort.
void match_selector::match_worker::fill_up(int individual, std::vector<int>& out) const {
    const int n_wanted = std::min({LEAST_SELECTED, S.settings.n_states, S.GH.n_haplotypes() - 2});
    for (int h = 0; static_cast<int>(out.size()) < n_wanted; ++h)
        if (h / 2 != individual && std::ranges::find(out, h) == out.end()) out.push_back(h);
}

match_selector::match_selector(const genhap_set& set, const match_settings& chosen, worker_team& workers)
    : GH(set), settings(chosen), team(workers) {
    if (GH.n_haplotypes() < LEAST_HAPLOTYPES)
        LOG.error("A single individual cannot be phased: use more, or a reference panel (--input-ref)");
    learned.set_mismatch(settings.mismatch);
}

void match_selector::prepare(bool /*renew: nothing is kept*/, random_source& /*random*/) {
    random_source own(seed_of_stream(settings.seed, iteration++));
    const int last = GH.snps.size() - 1;
    rows.copy(GH.vecH, 0, last);
    choose_sites(own);
    team.run(2, [&](int item, int /*worker*/) {
        const int n = GH.n_haplotypes(), n_study = 2 * GH.n_individuals();
        if (item == 0)
            from_left.fill(rows, {0, last}, site_loci, n, n_study);
        else
            from_right.fill(rows, {last, 0}, site_loci, n, n_study);
    });
    jumps_per_cm = settings.jumps_per_cm > 0.0 ? settings.jumps_per_cm : measure_jumps();
    learned.set_jumps(GH.snps, jumps_per_cm);
    choose_windows(own);
    LOG.println("  * Matches: " + sutils::double2str(jumps_per_cm, 3) + " jumps per cM, " +
                std::to_string(window_borders.size() - 1) + " windows");
}

/// Draws one variant of each stretch of settings.step cM that has any.
void match_selector::choose_sites(random_source& random) {
    site_loci.clear();
    const auto stretch_of = [&](int locus) {
        return std::floor(GH.snps.getByIndex(locus)->cm / settings.step);
    };
    for (int first = 0, end = 0; first < GH.snps.size(); first = end) {
        while (end < GH.snps.size() && stretch_of(end) == stretch_of(first)) ++end;
        site_loci.push_back(first + random.draw_below(end - first));
    }
}

/// Place of a variant on the scale in which windows are measured: cM, or bp if the user gave their size.
double match_selector::place(int locus) const {
    const snp& variant = *GH.snps.getByIndex(locus);
    return settings.window_bp > 0.0 ? variant.bp : variant.cm;
}

double match_selector::mean_window() const {
    if (settings.window_bp > 0.0) return settings.window_bp;
    const int last = GH.snps.size() - 1;
    const double per_variant = (place(last) - place(0)) / std::max(last, 1);
    return std::clamp(STRETCHES_IN_WINDOW / jumps_per_cm, LEAST_IN_WINDOW * per_variant,
                      MOST_IN_WINDOW * per_variant);
}

/// Cuts the chromosome into windows of equal length, except that the first and the last one have between 0.5
/// and 1.5 times that length. The place of the first border is drawn.
void match_selector::choose_windows(random_source& random) {
    const int last = GH.snps.size() - 1;
    const double size = mean_window(), end = place(last) - 0.5 * size;
    window_borders.assign(1, 0);
    int locus = 0;
    const double first = place(0) + size * (0.5 + random.draw());
    for (int i = 0; first + i * size < end; ++i) {
        while (place(locus) < first + i * size) ++locus;
        if (locus > window_borders.back()) window_borders.push_back(locus);
    }
    window_borders.push_back(last);
}

/// The number of jumps per cM that explains the lengths of the longest matches on either side of the sites:
/// the number of matches that end before the chromosome does, over the sum of all lengths (the maximum
/// likelihood estimate for an exponential distribution with right censoring).
double match_selector::measure_jumps() const {
    struct lengths {
        double sum = 0.0;
        long n_ended = 0;
    };
    const int n_individuals = GH.n_individuals(), n = std::min(n_individuals, MOST_MEASURED);
    const int n_sites = static_cast<int>(site_loci.size()), last = GH.snps.size() - 1;
    const auto cm = [&](int locus) { return GH.snps.getByIndex(locus)->cm; };
    std::vector<lengths> of(n);
    team.run(n, [&](int i, int /*worker*/) {
        const int individual = static_cast<int>(static_cast<long>(i) * n_individuals / n);
        for (int s = 0; s < n_sites; ++s) {
            const auto add = [&](int /*h*/, int end) {
                of[i].sum += std::abs(cm(site_loci[s]) - cm(end));
                of[i].n_ended += end > 0 && end < last ? 1 : 0;
            };
            for (const int h : haplotypes_of(individual)) {
                from_left.nearest(s, h, 1, add);
                from_right.nearest(s, h, 1, add);
            }
        }
    });
    lengths all;
    for (const lengths& l : of) {
        all.sum += l.sum;
        all.n_ended += l.n_ended;
    }
    constexpr double LEAST_SUM = 1e-6;  // cM, if there is no match at all
    return std::max(static_cast<double>(all.n_ended), 1.0) / std::max(all.sum, LEAST_SUM);
}

std::vector<phasing_job> match_selector::list_jobs(random_source& /*random*/) const {
    std::vector<phasing_job> jobs;
    for (int ind = 0; ind < GH.n_individuals(); ++ind) {
        int window = 0;
        for (const segment_range& range : GH.vecG[ind].ranges(window_borders))
            jobs.push_back({ind, window++, range});
    }
    return jobs;
}

std::unique_ptr<conditioning_selector::worker> match_selector::make_worker() const {
    return std::make_unique<match_worker>(*this);
}
