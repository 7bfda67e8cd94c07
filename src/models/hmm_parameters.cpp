#include "models/hmm_parameters.h"

#include <algorithm>
#include <boost/multiprecision/cpp_bin_float.hpp>

#include "containers/snp_set.h"

namespace {

constexpr double SMALLEST_RHO = 1e-5;

/// The double nearest to exp(x). The last bit of the C library's exp can depend on the processor, so the
/// value is computed with 113 bits in integer arithmetic and rounded once.
double portable_exp(double x) {
    using boost::multiprecision::cpp_bin_float_quad;
    return static_cast<double>(cpp_bin_float_quad(exp(cpp_bin_float_quad(x))));
}

}  // namespace

void hmm_parameters::initialise(const snp_set& S, int Ne) {
    const double scale = static_cast<double>(Ne) * PER_CM;
    set_distances(S, [scale](const snp& left, const snp& right) { return (right.cm - left.cm) * scale; });
}

void hmm_parameters::set_distances(const snp_set& S,
                                   const std::function<double(const snp&, const snp&)>& distance) {
    rho.assign(std::max(S.size() - 1, 0), 0.0);
    for (int i = 0; i + 1 < S.size(); ++i) {
        rho[i] = distance(*S.getByIndex(i), *S.getByIndex(i + 1));
        if (rho[i] == 0.0) rho[i] = SMALLEST_RHO;
    }
    t = tn = nt = std::vector<double>(rho.size(), 0.0);
}

void hmm_parameters::update(int nhap, int nstate) {
    // The distance is divided by the number of all haplotypes, not of states.
    for (std::size_t i = 0; i < rho.size(); ++i) {
        nt[i] = portable_exp(-rho[i] / nhap);
        t[i] = 1.0 - nt[i];
        tn[i] = t[i] / nstate;
    }
    double h = 0.0;
    for (int i = 1; i <= nhap - 2; ++i) h += 1.0 / i;
    const double theta = 1.0 / h;
    em_mismatch = (theta / (nhap + theta)) * 0.5;
    em_match = nhap / (nhap + theta) + em_mismatch;
    em_mismatch_n = em_mismatch / nstate;
    em_match_n = em_match / nstate;
}
