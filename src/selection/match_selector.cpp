#include "selection/match_selector.h"

#include <algorithm>
#include <string>

#include "utils/lfile.h"

namespace {

// A window is a little longer than the part of a copied stretch on one side of a site. In shorter ones too
// much is next to a border; in longer ones, the haplotypes selected are further from being the best at each
// place.
constexpr double STRETCHES_IN_WINDOW = 1.25;
constexpr int LEAST_IN_WINDOW = 200, MOST_IN_WINDOW = 20'000;  // variants
constexpr int LEAST_SELECTED = 8;                              // if there are as many haplotypes

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

/// Counts the notes of both haplotypes of the individual at the sites of the window.
void match_selector::match_worker::count_notes(const phasing_job& job) {
    const site_orders& orders = S.learner.orders();
    const match_orders &to_left = orders.to_left(), &to_right = orders.to_right();
    const int first = S.window_sites[job.window] - orders.first_site();
    const int end = S.window_sites[job.window + 1] - orders.first_site();
    const auto note = [this](int h, int /*locus*/) {
        if (counts[h]++ == 0) noted.push_back(h);
    };
    noted.clear();
    constexpr int AHEAD = 4;  // sites, for the memory to answer in time
    for (int s = first; s < end; ++s)
        for (const int h : haplotypes_of(job.individual)) {
            if (s + AHEAD < end) {
                to_left.prefetch(s + AHEAD, h);
                to_right.prefetch(s + AHEAD, h);
            }
            to_left.nearest(s, h, S.settings.depth, note);
            to_right.nearest(s, h, S.settings.depth, note);
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

match_selector::match_selector(const genhap_set& set, const match_settings& chosen, worker_team& team)
    : GH(set), settings(chosen), learner(set, chosen.learning, team) {
    if (GH.n_haplotypes() < LEAST_HAPLOTYPES)
        LOG.error(
            "A single individual cannot be phased: use more individuals, or a reference panel (--input-ref)");
    LOG.println("Matches: " + std::to_string(settings.n_states) + " states");
}

void match_selector::prepare(bool /*renew: nothing is kept*/, random_source& /*random*/) {
    random_source own = learner.start_iteration();
    choose_windows(own);
    learner.learn(choose_stretches());
    LOG.println("  * Matches: " + learner.text() + ", " + std::to_string(window_borders.size() - 1) +
                " windows");
}

/// Place of a variant on the scale in which windows are measured: cM, or bp if the user gave their size.
double match_selector::place(int locus) const {
    const snp& variant = *GH.snps.getByIndex(locus);
    return settings.window_bp > 0.0 ? variant.bp : variant.cm;
}

/// Follows the rate of the iteration before. As long as nothing is known, windows are short.
double match_selector::mean_window() const {
    if (settings.window_bp > 0.0) return settings.window_bp;
    const int last = GH.snps.size() - 1;
    const double per_variant = (place(last) - place(0)) / std::max(last, 1);
    const double rate = learner.jumps_per_cm();
    return std::clamp(rate > 0.0 ? STRETCHES_IN_WINDOW / rate : 0.0, LEAST_IN_WINDOW * per_variant,
                      MOST_IN_WINDOW * per_variant);
}

/// Cuts the chromosome into windows of equal length, except that the first and the last one have between 0.5
/// and 1.5 times that length. The place of the first border is drawn. A window that would have no site
/// becomes part of one beside it.
void match_selector::choose_windows(random_source& random) {
    const std::vector<int>& sites = learner.sites();
    const int last = GH.snps.size() - 1, n_sites = static_cast<int>(sites.size());
    const double size = mean_window(), end = place(last) - 0.5 * size;
    window_borders.assign(1, 0);
    window_sites.assign(1, 0);
    int locus = 0;
    const double first = place(0) + size * (0.5 + random.draw());
    for (int i = 0; first + i * size < end; ++i) {
        while (place(locus) < first + i * size) ++locus;
        const int site = static_cast<int>(std::ranges::lower_bound(sites, locus) - sites.begin());
        if (site == window_sites.back() || site == n_sites) continue;
        window_borders.push_back(locus);
        window_sites.push_back(site);
    }
    window_borders.push_back(last);
    window_sites.push_back(n_sites);
}

/// Gathers neighbouring windows into stretches. Returns the first site of each, then the number of sites.
std::vector<int> match_selector::choose_stretches() {
    const int n_windows = static_cast<int>(window_borders.size()) - 1, most = learner.most_sites();
    std::vector<int> first_of_stretch = {0};
    first_windows.assign(1, 0);
    for (int w = 1; w < n_windows; ++w)
        if (window_sites[w + 1] - first_of_stretch.back() > most) {
            first_windows.push_back(w);
            first_of_stretch.push_back(window_sites[w]);
        }
    first_windows.push_back(n_windows);
    first_of_stretch.push_back(window_sites.back());
    return first_of_stretch;
}

std::vector<phasing_job> match_selector::list_jobs(random_source& /*random*/) const {
    const int stretch = learner.orders().stretch();
    const int first = first_windows[stretch], end = first_windows[stretch + 1];
    const std::vector<int> borders(window_borders.begin() + first, window_borders.begin() + end + 1);
    std::vector<phasing_job> jobs;
    for (int ind = 0; ind < GH.n_individuals(); ++ind) {
        int window = first;
        for (const segment_range& range : GH.vecG[ind].ranges(borders))
            jobs.push_back({ind, window++, range});
    }
    return jobs;
}

std::unique_ptr<conditioning_selector::worker> match_selector::make_worker() const {
    return std::make_unique<match_worker>(*this);
}
