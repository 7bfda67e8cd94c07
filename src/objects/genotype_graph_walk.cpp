#include <algorithm>
#include <cmath>
#include <iostream>

#include "objects/genotype_graph.h"
#include "utils/assertion.h"
#include "utils/autils.h"
#include "utils/my_exception.h"
#include "utils/sutils.h"

namespace {

constexpr double SMALLEST_SUM = 1e-300;

std::string advice_on_map(const std::string& individual) {
    return "The probabilities of " + individual +
           " are NaN or negative: remove nan, inf and positions below 0 cM from the genetic map.";
}

}  // namespace

void genotype_graph::sample(std::vector<chaplotype>& haps, const haplotype_indexes& indexes, bool uniform,
                            random_source& random) const {
    std::vector<int> path(n_groups(), -1);
    std::vector<double> w;
    const bool forward = random.draw() < 0.5;  // neither end of the graph is favoured
    int neighbour = -1;                        // transition chosen in the previous group
    for (int step = 0; step < n_groups(); ++step) {
        const int g = forward ? step : n_groups() - 1 - step;
        const double sum = weigh_group(g, neighbour, uniform, forward, w);
        check_weights(w, sum, g, forward);
        path[g] = random.draw_index(w, sum);
        neighbour = static_cast<int>(trans_offset[g]) + path[g];
    }
    buildGuesses(haps, indexes, path, random);
}

/// Fills `w` with the weights of the transitions of group `g`: 0 for those that are not linked to transition
/// `neighbour` of the previous group in the direction of the walk. If `neighbour` is negative, all have
/// weights. Returns the sum.
double genotype_graph::weigh_group(int g, int neighbour, bool uniform, bool forward,
                                   std::vector<double>& w) const {
    w.assign(trans_count[g], 0.0);
    double sum = 0.0;
    for (unsigned k = 0; k < trans_count[g]; ++k) {
        const unsigned u = trans_offset[g] + k;
        const bool counts =
            neighbour < 0 || (forward ? linked(2 * neighbour, 2 * u) : linked(2 * u, 2 * neighbour));
        if (!counts) continue;
        w[k] = uniform ? 1.0 : trans_prob[u];
        sum += w[k];
    }
    return sum;
}

void genotype_graph::check_weights(const std::vector<double>& w, double sum, int g, bool forward) const {
    if (sum >= SMALLEST_SUM) return;
    const bool underflow = !std::isnan(sum);
    if (underflow) {
        for (std::size_t k = 0; k < w.size(); ++k)
            std::cerr << k << "\t" << trans_prob[trans_offset[g] + k] << "\t" << w[k] << "\n";
        std::cerr << std::endl;
    }
    throw myException(std::string(underflow ? "Underflow" : "NaN") + " in sampling" + (forward ? "F" : "B") +
                      " / i=" + name + " b=" + sutils::int2str(g) + " sp=" + sutils::double2str(sum, 10));
}

int genotype_graph::n_draws_of_sample() const {
    int n = 1 + n_groups();  // the direction, and one transition of each group
    for (int s = 1; s < n_segments(); ++s) {
        // Draws of buildGuesses.
        unsigned n_equal = 0;
        for (unsigned t = trans_offset[s]; t < trans_offset[s] + trans_count[s]; ++t)
            n_equal += (trans_nodes[2 * t] & 15) == (trans_nodes[2 * t + 1] & 15);
        if (n_equal > 0 && n_equal < trans_count[s]) return -1;
        n += n_equal > 0;
    }
    return n;
}

std::vector<int> genotype_graph::best_path() const {
    std::vector<std::vector<double>> delta(n_groups());
    std::vector<std::vector<int>> back(n_groups());
    for (int g = 0; g < n_groups(); ++g) {
        delta[g].assign(trans_count[g], 0.0);
        back[g].assign(trans_count[g], -1);
    }
    for (unsigned k = 0; k < trans_count[0]; ++k) delta[0][k] = trans_store[trans_offset[0] + k];
    for (int g = 1; g < n_groups(); ++g) {
        double sum = 0.0;
        for (unsigned k = 0; k < trans_count[g]; ++k)
            for (unsigned j = 0; j < trans_count[g - 1]; ++j) {
                if (!linked(2 * (trans_offset[g - 1] + j), 2 * (trans_offset[g] + k))) continue;
                const double v = trans_store[trans_offset[g] + k] * delta[g - 1][j];
                if (v > delta[g][k]) {
                    sum = sum - delta[g][k] + v;  // updated in this order: its rounding affects the result
                    delta[g][k] = v;
                    back[g][k] = static_cast<int>(j);
                }
            }
        for (double& d : delta[g]) d /= sum;
    }
    std::vector<int> path(n_groups(), -1);
    path.back() = autils::max(delta.back());
    for (int g = n_groups() - 2; g >= 0; --g) {
        path[g] = back[g + 1][path[g + 1]];
        TOLVANE_REQUIRE(path[g] >= 0, "path[g] >= 0", advice_on_map(name));
    }
    return path;
}

void genotype_graph::buildGuesses(std::vector<chaplotype>& haps, const haplotype_indexes& indexes,
                                  const std::vector<int>& path, random_source& random) const {
    int c0 = 0, c1 = 0, pos = 0;
    for (int s = 0; s + 1 < static_cast<int>(path.size()); ++s) {
        const unsigned t = trans_offset[s] + static_cast<unsigned>(path[s]);
        const int left0 = trans_nodes[2 * t] & 15, left1 = trans_nodes[2 * t + 1] & 15;
        const int right0 = trans_nodes[2 * t] >> 4, right1 = trans_nodes[2 * t + 1] >> 4;
        if (s == 0) {
            c0 = right0;
            c1 = right1;
        } else if (left0 != left1) {
            c0 = left0 == c0 ? right0 : right1;
            c1 = left1 == c1 ? right1 : right0;
        } else {
            const bool swapped = random.draw() < 0.5;
            c0 = swapped ? right1 : right0;
            c1 = swapped ? right0 : right1;
        }
        const int length = static_cast<int>(seg_length[s]);
        for (int i = 0; i < length; i += 8) {
            const int count = std::min(length - i, 8);
            haps[indexes[0]].set8(pos + i, hap_bits.get8(candidate(s, c0) + i), count);
            haps[indexes[1]].set8(pos + i, hap_bits.get8(candidate(s, c1) + i), count);
        }
        pos += length;
    }
}

unsigned int genotype_graph::consolide(std::vector<bool>& kept) const {
    unsigned int n_set = 0;
    for (int g = 0; g + 1 < n_groups(); ++g) {
        n_set += keep_links(kept, g, true);
        n_set += keep_links(kept, g + 1, false);
    }
    return n_set;
}

/// For each kept transition of group `g` that has no kept link in the next group (or the previous one, if not
/// `forward`), keeps its best link there. Returns the number of flags set.
unsigned int genotype_graph::keep_links(std::vector<bool>& kept, int g, bool forward) const {
    const int other = forward ? g + 1 : g - 1;
    const unsigned first = trans_offset[other], end = first + trans_count[other];
    unsigned int n_set = 0;
    for (unsigned t = trans_offset[g]; t < trans_offset[g] + trans_count[g]; ++t) {
        if (!kept[t]) continue;
        bool has_link = false;
        for (unsigned u = first; u < end && !has_link; ++u)
            has_link = kept[u] && (forward ? linked(2 * t, 2 * u) : linked(2 * u, 2 * t));
        if (has_link) continue;
        const int best =
            forward ? maxN(other, static_cast<int>(2 * t)) : maxP(other, static_cast<int>(2 * t));
        TOLVANE_REQUIRE(best >= 0, "best >= 0", advice_on_map(name));
        kept[best] = true;
        ++n_set;
    }
    return n_set;
}
