#pragma once

#include <memory>
#include <vector>

#include "containers/genhap_set.h"
#include "modules/worker_team.h"
#include "selection/conditioning_selector.h"
#include "selection/rate_learner.h"

/// Selects as another selector does, and learns the rates of the copying model, as match_selector does.
class learning_selector : public conditioning_selector {
  public:
    /// `set` and `team` are held by reference.
    learning_selector(std::unique_ptr<conditioning_selector> selector, const genhap_set& set,
                      const learning_settings& settings, worker_team& team);

    void prepare(bool renew, random_source& random) override;
    int n_stretches() const override { return selector->n_stretches(); }
    void next_stretch() override { selector->next_stretch(); }
    std::vector<phasing_job> list_jobs(random_source& random) const override {
        return selector->list_jobs(random);
    }
    std::unique_ptr<worker> make_worker() const override { return selector->make_worker(); }
    const copying_rates* rates(int individual) const override { return &learner.rates(individual); }
    int fewest_haplotypes() const override { return selector->fewest_haplotypes(); }

  private:
    std::unique_ptr<conditioning_selector> selector;
    rate_learner learner;
};
