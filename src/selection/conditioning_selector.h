#pragma once

#include <memory>
#include <vector>

#include "objects/genotype_graph.h"
#include "utils/random_source.h"

/// One individual in one window of the chromosome: the unit of work of an iteration.
struct phasing_job {
    int individual;
    int window;           // number of the window, as the selector counts
    segment_range range;  // of the individual's graph
};

/// Selects conditioning haplotypes. A form of selection is a class of its own: it says how the chromosome is
/// cut into windows, and which haplotypes an individual is compared with in each.
///
/// The haplotypes change between iterations and not within one, so only the draws have an order: those of
/// prepare, then of list_jobs, then of each job's choose in the order of the jobs.
class conditioning_selector {
  public:
    /// Selects in the working memory of one thread, job after job.
    class worker {
      public:
        worker() = default;
        virtual ~worker() = default;
        worker(const worker&) = delete;
        worker& operator=(const worker&) = delete;

        /// Computes all of a selection that needs no draw; may run at any time within the iteration.
        virtual void measure(const phasing_job& job) = 0;
        /// Ends the selection of the job measured last. `idx` receives the conditioning haplotypes, indexes
        /// in genhap_set::vecH. Returns the smallest distance among them, or the loci of the range less one
        /// if that is smaller.
        virtual int choose(const phasing_job& job, random_source& random, std::vector<int>& idx) = 0;
    };

    conditioning_selector() = default;
    virtual ~conditioning_selector() = default;
    conditioning_selector(const conditioning_selector&) = delete;
    conditioning_selector& operator=(const conditioning_selector&) = delete;

    /// Starts an iteration on the haplotypes as they are now. `renew` asks for whatever the selector keeps
    /// from iteration to iteration to be built anew.
    virtual void prepare(bool renew, random_source& random) = 0;
    /// The jobs of the iteration, those of one individual next to one another.
    virtual std::vector<phasing_job> list_jobs(random_source& random) const = 0;
    /// Memory for one thread. It may be used in all iterations, and lives no longer than the selector.
    virtual std::unique_ptr<worker> make_worker() const = 0;
};
