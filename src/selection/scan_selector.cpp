#include "selection/scan_selector.h"

#include "selection/hamming_selection.h"

namespace {

class scan_worker : public conditioning_selector::worker {
  public:
    scan_worker(const genhap_set& set, const haplotype_tiles& tiles, int K)
        : selection(set.vecH, tiles, set.n_individuals(), K) {}

    void measure(const phasing_job& job) override { selection.measure(job.individual, job.range); }
    int choose(const phasing_job& /*job*/, random_source& random, std::vector<int>& idx) override {
        return selection.choose(random, idx);
    }

  private:
    hamming_selection selection;
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
