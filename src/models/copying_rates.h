#pragma once

#include <vector>

class snp_set;

/// The rates of the copying model in single precision: how often the copied haplotype changes along the
/// chromosome, and how often its allele is not that of the copy.
struct copying_rates {
    /// Sets the probabilities of a jump for `per_cm` jumps per cM, which must be positive. Between variants
    /// at one position a jump stays possible.
    void set_jumps(const snp_set& variants, double per_cm);
    /// Sets the emission of a mismatch from its probability, in (0, 1).
    void set_mismatch(double probability);

    std::vector<float> jump;  // entry i: probability of a jump between variants i and i + 1
    float mismatch = 0.0F;    // emission of an allele that is not the copied one; that of the copied one is 1
};

/// 1 - exp(-x) for x >= 0, with the same bits on every machine, unlike the function of the C library. The
/// relative error is below 1e-14.
double probability_of_event(double x);
