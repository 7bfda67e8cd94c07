#pragma once

#include <functional>
#include <vector>

class snp;
class snp_set;

/// The parameters of the copying model (Li and Stephens 2003) that are the same for all individuals: switch
/// probabilities for each interval between neighbouring variants, and one pair of emission probabilities. Set
/// by `initialise`, then `update`; afterwards read-only and shared by all threads.
class hmm_parameters {
  public:
    /// Scaled distance of 1 cM for each individual of the effective population: 4 times 0.01 Morgans.
    static constexpr double PER_CM = 0.04;

    /// Scaled genetic distances 0.04 * Ne * cM, for an effective population size `Ne`.
    void initialise(const snp_set& S, int Ne);
    /// Fills rho with distance(left variant, right variant) of each interval; a distance of 0 becomes 1e-5,
    /// which keeps a jump possible between variants at one position.
    void set_distances(const snp_set& S, const std::function<double(const snp&, const snp&)>& distance);
    /// Computes all other values for `nhap` haplotypes in the data, of which `nstate` are hidden states. The
    /// mutation parameter is the reciprocal of 1 + 1/2 + ... + 1/(nhap - 2).
    void update(int nhap, int nstate);

    // Entry i belongs to the interval between variants i and i + 1.
    std::vector<double> rho;  // scaled genetic distance
    std::vector<double> t;    // probability of a recombination event
    std::vector<double> tn;   // probability of a jump to one given state: t / number of hidden states
    std::vector<double> nt;   // 1 - t

    double em_match = 0.0;       // emission of the copied haplotype's allele
    double em_mismatch = 0.0;    // emission of the other allele
    double em_match_n = 0.0;     // em_match / number of hidden states
    double em_mismatch_n = 0.0;  // em_mismatch / number of hidden states
};
