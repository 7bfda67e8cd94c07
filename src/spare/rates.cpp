#include "spare/rates.h"

#include <cstdint>

namespace spare {

namespace {

constexpr double SMALLEST_T = 1e-5;

}  // namespace

void initialise_from_bases(hmm_parameters& M, const snp_set& S, double rho_per_base) {
    M.set_distances(S, [rho_per_base](const snp& left, const snp& right) {
        return static_cast<double>(std::int64_t{right.bp} - left.bp) * rho_per_base;
    });
}

void install_switch_probabilities(hmm_parameters& M, std::vector<double>& t_new, int nstate) {
    for (std::size_t i = 0; i < M.t.size(); ++i) {
        if (t_new[i] < SMALLEST_T) {
            t_new[i] = SMALLEST_T;
            M.nt[i] = 0.99999;
        } else {
            M.nt[i] = 1.0 - t_new[i];
        }
        M.t[i] = t_new[i];
        M.tn[i] = t_new[i] / nstate;
        t_new[i] = 0.0;
    }
}

}  // namespace spare
