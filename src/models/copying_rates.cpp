#include "models/copying_rates.h"

#include <algorithm>

#include "containers/snp_set.h"

namespace {

constexpr double SMALLEST_DISTANCE = 1e-7;  // cM, a tenth of a base pair at usual rates

}  // namespace

void copying_rates::set_jumps(const snp_set& variants, double per_cm) {
    jump.resize(std::max(variants.size() - 1, 0));
    for (int i = 0; i + 1 < variants.size(); ++i) {
        const double distance = variants.getByIndex(i + 1)->cm - variants.getByIndex(i)->cm;
        jump[i] = static_cast<float>(probability_of_event(per_cm * std::max(distance, SMALLEST_DISTANCE)));
    }
}

void copying_rates::set_mismatch(double probability) {
    mismatch = static_cast<float>(probability / (1.0 - probability));
}

double probability_of_event(double x) {
    constexpr double CERTAIN = 64.0, SMALL = 0.03125;
    constexpr int N_TERMS = 8;
    if (x > CERTAIN) return 1.0;
    int n_halvings = 0;
    for (; x > SMALL; ++n_halvings) x *= 0.5;
    // The power series x - x^2 / 2 + x^3 / 6 - ..., from its last term on.
    double p = 1.0;
    for (int i = N_TERMS; i > 1; --i) p = 1.0 - p * x / i;
    p *= x;
    for (; n_halvings > 0; --n_halvings) p *= 2.0 - p;  // no event in either half
    return p;
}
