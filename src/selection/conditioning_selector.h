#pragma once

#include <memory>
#include <vector>

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
/// prepare, then those of list_jobs, then those of choose in the order of the jobs.
class conditioning_selector {
  public:
    /// Selects with the working memory of one thread, one job after another.
    class worker {
      public:
        worker() = default;
        virtual ~worker() = default;
        worker(const worker&) = delete;
        worker& operator=(const worker&) = delete;

        /// Does the part of a selection that needs no random draws. May run at any time within the iteration.
        virtual void measure(const phasing_job& job) = 0;
        /// Finishes the selection of the last measured job. `idx` receives the conditioning haplotypes as
        /// indexes in genhap_set::vecH. Returns the smallest distance among them, or the number of loci in
        /// the range minus 1 if that is smaller.
        virtual int choose(const phasing_job& job, random_source& random, std::vector<int>& idx) = 0;
    };

    conditioning_selector() = default;
    virtual ~conditioning_selector() = default;
    conditioning_selector(const conditioning_selector&) = delete;
    conditioning_selector& operator=(const conditioning_selector&) = delete;

    /// Starts an iteration with the current haplotypes. If `renew`, rebuilds whatever the selector keeps from
    /// one iteration to the next.
    virtual void prepare(bool renew, random_source& random) = 0;
    /// The jobs of the iteration, grouped by individual.
    virtual std::vector<phasing_job> list_jobs(random_source& random) const = 0;
    /// Creates the worker of one thread. It may be used in all iterations and must not outlive the selector.
    virtual std::unique_ptr<worker> make_worker() const = 0;
};
