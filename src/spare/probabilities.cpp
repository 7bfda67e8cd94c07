#include "spare/probabilities.h"

#include <cmath>

#include "utils/assertion.h"

namespace spare {

double normalise(std::vector<double>& values) {
    double sum = 0.0;
    for (const double value : values) sum += value;
    if (sum != 0.0)
        for (double& value : values) value /= sum;
    return sum;
}

double entropy(const std::vector<double>& values) {
    double result = 0.0;
    for (const double value : values)
        if (value > 0.0) result += value * std::log(value);
    return result;
}

double KLdistance(const std::vector<double>& P, const std::vector<double>& Q) {
    TOLVANE_ASSERT(P.size() == Q.size(), "P.size() == Q.size()");
    double result = 0.0;
    for (std::size_t i = 0; i < P.size(); ++i)
        if (P[i] > 0.0 && Q[i] > 0.0) result += (std::log(P[i]) - std::log(Q[i])) * P[i];
    return result;
}

}  // namespace spare
