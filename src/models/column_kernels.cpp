#include "models/column_kernels.h"

namespace column_kernels {

void start(const emissions& em, const unsigned char* alleles, int K, double* column, lanes& sums) {
    sums.fill(0.0);
    for (int k = 0; k < K; ++k)
        for (int c = 0; c < LANES; ++c) {
            const double value = em[alleles[k]][c];
            column[k * LANES + c] = value;
            sums[c] += value;
        }
}

void step_inside(const flow& from, const emissions& em, const unsigned char* alleles, int K, double* column,
                 lanes& sums) {
    lanes jump, total{};
    for (int c = 0; c < LANES; ++c) jump[c] = (*from.sums)[c] * from.tn;
    for (int k = 0; k < K; ++k) {
        const lanes& emission = em[alleles[k]];
        for (int c = 0; c < LANES; ++c) {
            const double value = (jump[c] + from.nt * from.column[k * LANES + c]) * emission[c];
            column[k * LANES + c] = value;
            total[c] += value;
        }
    }
    sums = total;
}

void step_across(const flow& from, int n_from, const emissions& em, const unsigned char* alleles, int K,
                 double* column, lanes& sums) {
    lanes jump, total{};
    for (int d = 0; d < LANES; ++d) jump[d] = (*from.sums)[d] * from.tn;
    for (int k = 0; k < K; ++k) {
        double before = 0.0;  // the same for every candidate on this side
        for (int d = 0; d < n_from; ++d) before += jump[d] + from.nt * from.column[k * LANES + d];
        const lanes& emission = em[alleles[k]];
        for (int c = 0; c < LANES; ++c) {
            const double value = before * emission[c];
            column[k * LANES + c] = value;
            total[c] += value;
        }
    }
    sums = total;
}

void rescale(int n, int K, double* column, lanes& sums) {
    double total = 0.0;
    for (int c = 0; c < n; ++c) total += sums[c];
    for (int i = 0; i < K * LANES; ++i) column[i] /= total;
    for (double& sum : sums) sum /= total;
}

void pair_sums(const flow& from, const double* right, int K, std::array<lanes, LANES>& pairs) {
    for (int c = 0; c < LANES; ++c) {
        const double jump = (*from.sums)[c] * from.tn;
        lanes total{};
        for (int k = 0; k < K; ++k) {
            const double left = jump + from.nt * from.column[k * LANES + c];
            for (int d = 0; d < LANES; ++d) total[d] += left * right[k * LANES + d];
        }
        pairs[c] = total;
    }
}

}  // namespace column_kernels
