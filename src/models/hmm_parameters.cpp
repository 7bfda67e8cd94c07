#include "models/hmm_parameters.h"

#include <algorithm>
#include <boost/multiprecision/cpp_bin_float.hpp>
#include <cstdint>

#include "containers/snp_set.h"

namespace {

constexpr double SMALLEST_RHO = 1e-5;  // keeps a jump possible between variants at one position
constexpr double SMALLEST_T = 1e-5;

/// The double nearest to exp(x). The C library's exp depends on the processor in the last bit, now and then;
/// so the value comes from arithmetic on whole numbers, with 113 bits, and is rounded once.
double portable_exp(double x) {
    using boost::multiprecision::cpp_bin_float_quad;
    return static_cast<double>(cpp_bin_float_quad(exp(cpp_bin_float_quad(x))));
}

/// rho of each interval, as `distance(left variant, right variant)`.
template <class Distance>
std::vector<double> distances(const snp_set& S, Distance distance) {
    std::vector<double> rho(std::max(S.size() - 1, 0), 0.0);
    for (int i = 0; i + 1 < S.size(); ++i) {
        rho[i] = distance(*S.getByIndex(i), *S.getByIndex(i + 1));
        if (rho[i] == 0.0) rho[i] = SMALLEST_RHO;
    }
    return rho;
}

}  // namespace

void hmm_parameters::initialise(const snp_set& S, int Ne) {
    const double scale = static_cast<double>(Ne) * 0.04;
    rho = distances(S, [scale](const snp& left, const snp& right) { return (right.cm - left.cm) * scale; });
    t = tn = nt = std::vector<double>(rho.size(), 0.0);
}

void hmm_parameters::initialise(const snp_set& S, double rho_per_base) {
    rho = distances(S, [rho_per_base](const snp& left, const snp& right) {
        return static_cast<double>(std::int64_t{right.bp} - left.bp) * rho_per_base;
    });
    t = tn = nt = std::vector<double>(rho.size(), 0.0);
}

void hmm_parameters::update(int nhap, int nstate) {
    // All haplotypes of the data scale the distance, whatever the number of states.
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

void hmm_parameters::update(std::vector<double>& t_new, int nstate) {
    for (std::size_t i = 0; i < t.size(); ++i) {
        if (t_new[i] < SMALLEST_T) {
            t_new[i] = SMALLEST_T;
            nt[i] = 0.99999;
        } else {
            nt[i] = 1.0 - t_new[i];
        }
        t[i] = t_new[i];
        tn[i] = t_new[i] / nstate;
        t_new[i] = 0.0;
    }
}
