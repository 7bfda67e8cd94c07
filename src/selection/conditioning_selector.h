#pragma once

#include <memory>
#include <span>
#include <vector>

#include "models/copying_rates.h"
#include "objects/genotype_graph.h"
#include "utils/random_source.h"

/// One individual in one window of the chromosome: the unit of work of an iteration.
struct phasing_job {
    int individual;
    int window;           // number of the window, assigned by the selector
    segment_range range;  // of the individual's graph
};

/// Interface of the ways to select conditioning haplotypes, one class each. A selector decides how the
/// chromosome is cut into windows, and which haplotypes an individual is compared with in each.
///
/// The haplotypes do not change within an iteration, so only the random draws need an order: first those of
/// prepare, then those of list_jobs, then those of the jobs, one after another. So the jobs give the same
/// result with any number of threads.
class conditioning_selector {
  public:
    /// Selects for all jobs of an individual, in three steps, with the working memory of one thread.
    class worker {
      public:
        worker() = default;
        virtual ~worker() = default;
        worker(const worker&) = delete;
        worker& operator=(const worker&) = delete;

        /// Does the part of the selections that needs no random draws, which should be most of it. May run at
        /// any time within the iteration.
        virtual void measure(std::span<const phasing_job> jobs) = 0;
        /// Takes the draws of the measured jobs. Individuals come here one after another.
        virtual void draw(random_source& random) = 0;
        /// Finishes the selection of the i-th measured job. May run at any time. `idx` receives the
        /// conditioning haplotypes as indexes in genhap_set::vecH. Returns the smallest distance among them,
        /// or the number of loci in the range minus 1 if that is smaller. A
        /// selector that does not measure distances returns DISTANCE_BEYOND_LIMIT.
        virtual int choose(int i, std::vector<int>& idx) = 0;
    };

    conditioning_selector() = default;
    virtual ~conditioning_selector() = default;
    conditioning_selector(const conditioning_selector&) = delete;
    conditioning_selector& operator=(const conditioning_selector&) = delete;

    /// Starts an iteration with the current haplotypes. If `renew`, rebuilds whatever the selector keeps from
    /// one iteration to the next.
    virtual void prepare(bool renew, random_source& random) = 0;
    /// Stretches of the chromosome whose jobs are run one after another, if what the selector needs for all
    /// would take too much memory. After prepare(), the first one is open.
    virtual int n_stretches() const { return 1; }
    /// Opens the next stretch. There must be one.
    virtual void next_stretch() {}
    /// The jobs of the open stretch, grouped by individual.
    virtual std::vector<phasing_job> list_jobs(random_source& random) const = 0;
    /// Rates for an individual that the selector has learned from the current haplotypes; null if it learns
    /// none. With them, jobs run the copying model in single precision.
    virtual const copying_rates* rates(int /*individual*/) const { return nullptr; }
    /// The fewest conditioning haplotypes with which a job can be run.
    virtual int fewest_haplotypes() const { return 5; }
    /// Creates the worker of one thread. It may be used in all iterations and must not outlive the selector.
    virtual std::unique_ptr<worker> make_worker() const = 0;
};
