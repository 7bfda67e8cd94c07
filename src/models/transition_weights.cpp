#include "models/transition_weights.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "utils/assertion.h"
#include "utils/my_exception.h"
#include "utils/sutils.h"

namespace {

constexpr std::size_t LARGEST_GROUP = 8192;  // transitions
constexpr double SMALLEST_MASS = 1e-300;
constexpr double SMALLEST_PROBABILITY = 1e-30;
constexpr int LEFT_NIBBLE = 0;  // shift of a transition byte
constexpr int RIGHT_NIBBLE = 4;

/// The transitions of group g: their bytes, two for each, and their probabilities.
struct transitions {
    transitions(genotype_graph& G, int g, std::vector<double>& memory)
        : n(static_cast<int>(G.trans_count[g])),
          steps(&G.trans_nodes[2 * static_cast<std::size_t>(G.trans_offset[g])]),
          prob(&G.trans_prob[G.trans_offset[g]]),
          weight(memory) {
        TOLVANE_ASSERT(n <= static_cast<int>(LARGEST_GROUP), "n_trans <= 8192");
        if (weight.size() < LARGEST_GROUP) weight.resize(LARGEST_GROUP);
    }

    /// Sets the weights to join(haploid(step of one chromosome), haploid(step of the other)). Returns their
    /// sum.
    template <class Haploid, class Join>
    double weigh(Haploid haploid, Join join) {
        double sum = 0.0;
        for (int t = 0; t < n; ++t) {
            weight[t] = join(haploid(steps[2 * t]), haploid(steps[2 * t + 1]));
            sum += weight[t];
        }
        return sum;
    }

    int n;
    const unsigned char* steps;
    float* prob;
    std::vector<double>& weight;
};

double product(double p, double q) {
    return p * q;
}

void weigh_end_group(genotype_graph& G, int g, const column_kernels::lanes& mass, int n_candidates, int shift,
                     std::vector<double>& memory) {
    double total = 0.0;
    for (int c = 0; c < n_candidates; ++c) total += mass[c];
    transitions group(G, g, memory);
    const double sum =
        group.weigh([&](unsigned char step) { return mass[(step >> shift) & 15] / total; }, product);
    for (int t = 0; t < group.n; ++t) group.prob[t] = static_cast<float>(group.weight[t] / sum);
}

}  // namespace

void weigh_first_group(genotype_graph& G, const column_kernels::lanes& mass, std::vector<double>& weight) {
    weigh_end_group(G, 0, mass, static_cast<int>(G.seg_count.front()), RIGHT_NIBBLE, weight);
}

void weigh_last_group(genotype_graph& G, const column_kernels::lanes& mass, std::vector<double>& weight) {
    weigh_end_group(G, G.n_segments(), mass, static_cast<int>(G.seg_count.back()), LEFT_NIBBLE, weight);
}

int weigh_inner_group(genotype_graph& G, int s, column_kernels::pair_matrix& mass,
                      std::vector<double>& weight) {
    const int n_left = static_cast<int>(G.seg_count[s - 1]), n_right = static_cast<int>(G.seg_count[s]);
    double total = 0.0;
    for (int c = 0; c < n_left; ++c)
        for (int d = 0; d < n_right; ++d) total += mass[c][d];
    const auto failure = [&](const std::string& fault) {
        return myException(fault + " in expectation haploid / i=" + G.name + " b=" + sutils::int2str(s) +
                           " sp=" + sutils::double2str(total, 10));
    };
    if (total < SMALLEST_MASS) throw failure("Underflow");
    if (std::isnan(total)) throw failure("Nan");
    for (int c = 0; c < n_left; ++c)
        for (int d = 0; d < n_right; ++d) mass[c][d] /= total;

    transitions group(G, s, weight);
    const auto haploid = [&](unsigned char step) { return mass[step & 15][step >> 4]; };
    double sum = group.weigh(haploid, product);
    const bool underflow = sum < SMALLEST_MASS;
    if (underflow) sum = group.weigh(haploid, [](double p, double q) { return p + q; });
    for (int t = 0; t < group.n; ++t)
        group.prob[t] = static_cast<float>(std::max(group.weight[t] / sum, SMALLEST_PROBABILITY));
    return underflow ? 1 : 0;
}
