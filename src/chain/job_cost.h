#pragma once

#include "models/haplotype_segment.h"

/// Time and model work spent on jobs, for benchmarks.
struct job_cost {
    double selection_seconds = 0.0;
    double model_seconds = 0.0;
    model_work model;

    job_cost& operator+=(const job_cost& other) {
        selection_seconds += other.selection_seconds;
        model_seconds += other.model_seconds;
        model += other.model;
        return *this;
    }
};
