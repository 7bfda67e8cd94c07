#pragma once

#include "models/haplotype_segment.h"

/// Time and model work spent on jobs, for benchmarks. Seconds are summed over the threads.
struct job_cost {
    double preparing_seconds = 0.0;  // of selections, by the main thread before the jobs
    double drawing_seconds = 0.0;    // of one job after another
    double selection_seconds = 0.0;  // of any number of jobs at the same time, like all below
    double model_seconds = 0.0;
    model_work model;

    job_cost& operator+=(const job_cost& other) {
        preparing_seconds += other.preparing_seconds;
        drawing_seconds += other.drawing_seconds;
        selection_seconds += other.selection_seconds;
        model_seconds += other.model_seconds;
        model += other.model;
        return *this;
    }
};
