#include "chain/phasing_jobs.h"

#include <algorithm>

#include "models/float_segment.h"
#include "utils/assertion.h"
#include "utils/lfile.h"
#include "utils/my_exception.h"
#include "utils/stopwatch.h"

namespace {

constexpr double MOST_AMBIGUOUS = 0.9;  // share of variants at which real people are heterozygous or missing

/// Index of the first job of each individual, then the number of jobs.
std::vector<int> starts_of_individuals(const std::vector<phasing_job>& jobs) {
    std::vector<int> starts;
    for (int j = 0; j < static_cast<int>(jobs.size()); ++j)
        if (j == 0 || jobs[j].individual != jobs[j - 1].individual) starts.push_back(j);
    starts.push_back(static_cast<int>(jobs.size()));
    return starts;
}

}  // namespace

struct phasing_jobs::worker {
    std::unique_ptr<conditioning_selector::worker> selection;
    std::vector<int> idxH;  // conditioning haplotypes
    segment_buffers buffers;
    float_buffers floats;
    int n_underflows = 0;  // of the current iteration
    job_cost cost;         // without the work of the model, which the buffers count
};

phasing_jobs::phasing_jobs(genhap_set& set, const hmm_parameters& parameters,
                           conditioning_selector& conditioning, worker_team& threads, random_source& source)
    : GH(set),
      hmm(parameters),
      selector(conditioning),
      team(threads),
      random(source),
      workers(threads.size()) {
    for (worker& w : workers) w.selection = selector.make_worker();
}

phasing_jobs::~phasing_jobs() = default;

/// What to change if a job has `n` conditioning haplotypes, too few to phase.
std::string phasing_jobs::advice_on_few(const phasing_job& job, std::size_t n) const {
    constexpr int LEAST_HAPLOTYPES = 12;  // of six people
    if (GH.n_haplotypes() < LEAST_HAPLOTYPES)
        return "Phasing needs more individuals, or a reference panel (--input-ref).";
    const genotype_graph& graph = GH.vecG[job.individual];
    int n_ambiguous = 0;
    for (int l = job.range.first_locus; l <= job.range.last_locus; ++l)
        n_ambiguous += graph.site_ambiguous[l];
    const int n_loci = job.range.last_locus - job.range.first_locus + 1;
    const std::string found =
        "Only " + std::to_string(n) + " conditioning haplotypes were found for " + graph.name;
    if (n_ambiguous > MOST_AMBIGUOUS * n_loci)
        return found + ", who is heterozygous or missing at " + std::to_string(n_ambiguous) + " of " +
               std::to_string(n_loci) +
               " variants of a window. No real person is: check how the genotypes were called or converted.";
    return found + ": use --states 5 or more, a larger --window, more individuals or a reference panel.";
}

int phasing_jobs::run(bool renew, bool skip_matched) {
    stopwatch watch;
    for (worker& w : workers) w.n_underflows = 0;
    selector.prepare(renew, random);
    preparing_seconds += watch.lap();
    for (int stretch = 0; stretch < selector.n_stretches(); ++stretch) run_stretch(stretch, skip_matched);
    int n_underflows = 0;
    for (const worker& w : workers) n_underflows += w.n_underflows;
    return n_underflows;
}

void phasing_jobs::run_stretch(int stretch, bool skip_matched) {
    stopwatch watch;
    if (stretch > 0) selector.next_stretch();
    const std::vector<phasing_job> jobs = selector.list_jobs(random);
    const std::vector<int> starts = starts_of_individuals(jobs);
    preparing_seconds += watch.lap();
    turn_order turns(team);
    team.run(static_cast<int>(starts.size()) - 1, [&](int i, int number) {
        const std::span of_individual(jobs.begin() + starts[i], jobs.begin() + starts[i + 1]);
        run_individual(i, of_individual, turns, skip_matched, workers[number]);
    });
}

void phasing_jobs::run_individual(int item, std::span<const phasing_job> jobs, turn_order& turns,
                                  bool skip_matched, worker& w) {
    stopwatch watch;
    w.selection->measure(jobs);
    w.cost.selection_seconds += watch.lap();
    turns.take(item, [&] {
        watch.lap();  // the time of waiting is nobody's
        w.selection->draw(random);
        w.cost.drawing_seconds += watch.lap();
    });
    watch.lap();
    for (std::size_t j = 0; j < jobs.size(); ++j) {
        const int distance = w.selection->choose(static_cast<int>(j), w.idxH);
        TOLVANE_REQUIRE(static_cast<int>(w.idxH.size()) >= selector.fewest_haplotypes(), "idxH.size()>4",
                        advice_on_few(jobs[j], w.idxH.size()));
        std::sort(w.idxH.begin(), w.idxH.end());
        w.cost.selection_seconds += watch.lap();
        if (skip_matched && distance < 1) continue;
        run_model(jobs[j], w);
        w.cost.model_seconds += watch.lap();
    }
}

/// Runs the model of a job on the selected haplotypes.
void phasing_jobs::run_model(const phasing_job& job, worker& w) {
    try {
        genotype_graph& graph = GH.vecG[job.individual];
        if (const copying_rates* rates = selector.rates(job.individual))
            w.n_underflows += float_segment(GH.vecH, w.idxH, job.range, *rates, w.floats).expectation(graph);
        else
            w.n_underflows +=
                haplotype_segment(GH.vecH, w.idxH, job.range, w.buffers).expectation(hmm, &graph);
    } catch (const myException& failure) {
        LOG.error(failure.msg);
    }
}

job_cost phasing_jobs::cost() const {
    job_cost total;
    total.preparing_seconds = preparing_seconds;
    for (const worker& w : workers) {
        total += w.cost;
        total.model += w.buffers.work;
    }
    return total;
}
