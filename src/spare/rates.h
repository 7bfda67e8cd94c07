#pragma once

#include <vector>

#include "containers/snp_set.h"
#include "models/hmm_parameters.h"

/// Sources of switch probabilities other than a genetic map.
namespace spare {

/// Fills M.rho from physical distances, for a recombination rate per base pair. Call M.update afterwards.
void initialise_from_bases(hmm_parameters& M, const snp_set& S, double rho_per_base);

/// Installs the switch probabilities `t_new`, raised to at least 1e-5, and resets `t_new` to 0.
void install_switch_probabilities(hmm_parameters& M, std::vector<double>& t_new, int nstate);

}  // namespace spare
