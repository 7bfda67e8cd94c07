#include "selection/scan_selector.h"

#include "selection/hamming_selection.h"

namespace {

class scan_worker : public conditioning_selector::worker {
  public:
    scan_worker(const genhap_set& set, const haplotype_tiles& tiles, int K)
        : selection(set.vecH, tiles, set.n_individuals(), K) {}

    void measure(std::span<const phasing_job> jobs) override {
        n_jobs = jobs.size();
        if (lists.size() < n_jobs) lists.resize(n_jobs);
        for (std::size_t i = 0; i < n_jobs; ++i)
            selection.measure(jobs[i].individual, jobs[i].range, lists[i]);
    }
    void draw(random_source& random) override {
        for (std::size_t i = 0; i < n_jobs; ++i) selection.draw(random, lists[i]);
    }
    int choose(int i, std::vector<int>& idx) override { return selection.choose(lists[i], idx); }

  private:
    hamming_selection selection;
    std::vector<candidate_list> lists;  // of the measured jobs, and memory for more
    std::size_t n_jobs = 0;
};

}  // namespace

scan_selector::scan_selector(const genhap_set& set, int K, int window_size)
    : GH(set), n_wanted(K), window_bp(window_size) {}

void scan_selector::prepare(bool /*renew: nothing is kept*/, random_source& /*random*/) {
    tiles.copy(GH.vecH);
}

std::vector<phasing_job> scan_selector::list_jobs(random_source& random) const {
    std::vector<phasing_job> jobs;
    for (int ind = 0; ind < GH.n_individuals(); ++ind) {
        int window = 0;
        for (const segment_range& range : GH.vecG[ind].cluster(GH.span(), window_bp, random))
            jobs.push_back({ind, window++, range});
    }
    return jobs;
}

std::unique_ptr<conditioning_selector::worker> scan_selector::make_worker() const {
    return std::make_unique<scan_worker>(GH, tiles, n_wanted);
}
