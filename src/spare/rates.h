#pragma once

#include <vector>

#include "containers/snp_set.h"
#include "models/hmm_parameters.h"

/// Other sources of the switch probabilities than a genetic map.
namespace spare {

/// Fills M.rho from physical distances, for a recombination rate per base pair; M.update has to follow.
void initialise_from_bases(hmm_parameters& M, const snp_set& S, double rho_per_base);

/// Installs switch probabilities estimated elsewhere, at least 1e-5, and clears them to 0.
void install_switch_probabilities(hmm_parameters& M, std::vector<double>& t_new, int nstate);

}  // namespace spare
