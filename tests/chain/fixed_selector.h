#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <numeric>
#include <set>
#include <span>
#include <utility>
#include <vector>

#include "containers/genhap_set.h"
#include "selection/conditioning_selector.h"

/// Selects all haplotypes of others for each individual, in two windows that overlap by two segments, and
/// records its calls. The distance it returns is `distance`.
class fixed_selector : public conditioning_selector {
  public:
    explicit fixed_selector(const genhap_set& set) : GH(set) {}

    void prepare(bool renew, random_source& /*random*/) override { renewals.push_back(renew); }

    std::vector<phasing_job> list_jobs(random_source& /*random*/) const override {
        std::vector<phasing_job> jobs;
        for (int ind = 0; ind < GH.n_individuals(); ++ind) {
            const genotype_graph& graph = GH.vecG[ind];
            const int n = graph.n_segments(), middle = n / 2;
            jobs.push_back({ind, 0, range_of(graph, 0, middle)});
            jobs.push_back({ind, 1, range_of(graph, middle - 1, n - 1)});
        }
        return jobs;
    }

    std::unique_ptr<worker> make_worker() const override { return std::make_unique<all_others>(*this); }

    int distance = 5;
    int n_selected = -1;  // haplotypes to select; -1 for all others
    std::vector<bool> renewals;
    mutable std::atomic<int> n_chosen = 0;
    mutable std::vector<std::pair<int, double>> draws;               // of each individual
    std::function<void(const worker*, const phasing_job&)> observe;  // called by each measurement

  private:
    class all_others : public worker {
      public:
        explicit all_others(const fixed_selector& selector) : owner(selector) {}
        void measure(std::span<const phasing_job> jobs) override {
            measured = jobs;
            for (const phasing_job& job : jobs)
                if (owner.observe) owner.observe(this, job);
        }
        void draw(random_source& random) override {
            owner.draws.emplace_back(measured.front().individual, random.draw());
        }
        int choose(int i, std::vector<int>& idx) override {
            ++owner.n_chosen;
            idx.clear();
            // In descending order: the jobs must sort them.
            for (int h = owner.GH.n_haplotypes() - 1; h >= 0; --h)
                if (h / 2 != measured[i].individual) idx.push_back(h);
            if (owner.n_selected >= 0) idx.resize(owner.n_selected);
            return owner.distance;
        }

      private:
        const fixed_selector& owner;
        std::span<const phasing_job> measured;
    };

    static segment_range range_of(const genotype_graph& graph, int first, int last) {
        const auto start = [&graph](int s) {
            return static_cast<int>(
                std::accumulate(graph.seg_length.begin(), graph.seg_length.begin() + s, 0U));
        };
        return {start(first), start(last + 1) - 1, first, last};
    }

    const genhap_set& GH;
};
