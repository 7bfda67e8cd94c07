#include "selection/tree_selector.h"

#include "modules/pass.h"
#include "selection/hamming_selection.h"
#include "utils/lfile.h"

namespace {

class tree_worker : public conditioning_selector::worker {
  public:
    tree_worker(const genhap_set& set, const haplotype_tiles& tiles, int K,
                const std::vector<haplotypeCluster>& window_trees)
        : trees(window_trees), selection(set.vecH, tiles, set.n_individuals(), K) {}

    void measure(std::span<const phasing_job> jobs) override {
        n_jobs = jobs.size();
        if (states.size() < n_jobs) states.resize(n_jobs);
        for (std::size_t i = 0; i < n_jobs; ++i) {
            job_state& s = states[i];
            s.tree = &trees[jobs[i].window];
            s.n_marked = s.tree->mark_clusters(jobs[i].individual, s.mask);
            selection.measure(jobs[i].individual, jobs[i].range, s.mask, s.tree->n_random(), s.list);
        }
    }
    void draw(random_source& random) override {
        for (std::size_t i = 0; i < n_jobs; ++i) {
            job_state& s = states[i];
            s.tree->mark_random(s.list.individual, s.n_marked, random, s.mask, drawn);
            selection.add(drawn, s.mask, s.list);
            selection.draw(random, s.list);
        }
    }
    int choose(int i, std::vector<int>& idx) override { return selection.choose(states[i].list, idx); }

  private:
    struct job_state {
        const haplotypeCluster* tree;
        haplotype_mask mask;
        int n_marked;  // in the clusters
        candidate_list list;
    };

    const std::vector<haplotypeCluster>& trees;
    hamming_selection selection;
    std::vector<job_state> states;  // of the measured jobs, and memory for more
    std::size_t n_jobs = 0;
    std::vector<int> drawn;
};

}  // namespace

tree_selector::tree_selector(const genhap_set& set, int K, int cluster_size, double window_size,
                             worker_team& workers)
    : GH(set), n_wanted(K), n_in_cluster(cluster_size), window_bp(window_size), team(workers) {}

void tree_selector::prepare(bool renew, random_source& random) {
    tiles.copy(GH.vecH);
    if (renew) build_trees(random);
}

void tree_selector::build_trees(random_source& random) {
    LOG.println("Partition of the map into windows");
    window_borders = GH.snps.rpartition(window_bp, random);
    LOG.println("Building " + std::to_string(window_borders.size()) + " haplotypeCluster objects");
    const std::size_t n_windows = window_borders.size() - 1;
    while (builders.size() < n_windows) builders.emplace_back(GH.vecH, n_in_cluster, n_wanted, team);
    if (window_trees.size() < n_windows) window_trees.resize(n_windows);
    // The draws of one tree follow those of another. The team works together on each tree.
    worker_team one_after_another(1);
    run_pass(one_after_another, {"Clustering in window ... ", "Clustering in window"},
             static_cast<int>(n_windows), [&](int w) {
                 window_trees[w] = builders[w].build(window_borders[w], window_borders[w + 1], random);
             });
}

std::vector<phasing_job> tree_selector::list_jobs(random_source& /*random*/) const {
    std::vector<phasing_job> jobs;
    for (int ind = 0; ind < GH.n_individuals(); ++ind)
        for (int w = 0; w < static_cast<int>(window_trees.size()); ++w)
            jobs.push_back(
                {ind, w, GH.vecG[ind].getClosestBoundaries(window_trees[w].start(), window_trees[w].stop())});
    return jobs;
}

std::unique_ptr<conditioning_selector::worker> tree_selector::make_worker() const {
    return std::make_unique<tree_worker>(GH, tiles, n_wanted, window_trees);
}
