#include "utils/putils.h"

#include <algorithm>
#include <array>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cmath>
#include <mutex>

#include "utils/assertion.h"

namespace putils {

namespace {

constexpr long MULTIPLIER = 16807;
constexpr long MODULUS = 2147483647;
constexpr long QUOTIENT = 127773;  // MODULUS / MULTIPLIER and its remainder, after Schrage (1979)
constexpr long REMAINDER = 2836;
constexpr int TABLE_SIZE = 32;
constexpr long TABLE_DIVISOR = 67108864;  // 1 + (MODULUS - 1) / TABLE_SIZE
constexpr int WARM_UP = 8;
constexpr double SCALE = 4.656612875245797e-10;  // 1 / MODULUS
constexpr double LARGEST = 0.99999988;

long seed = 0;
std::mutex mutex_rng;
std::array<long, TABLE_SIZE> table{};
long last_output = 0;

void step() {
    const long k = seed / QUOTIENT;
    seed = MULTIPLIER * (seed - k * QUOTIENT) - REMAINDER * k;
    if (seed < 0) seed += MODULUS;
}

void restart() {
    seed = seed < 0 ? -seed : 1;
    for (int j = TABLE_SIZE + WARM_UP - 1; j >= 0; --j) {
        step();
        if (j < TABLE_SIZE) table[j] = seed;
    }
    last_output = table[0];
}

}  // namespace

void initRandom(long s) {
    const std::lock_guard lock(mutex_rng);
    seed = -s;
}

double getRandom() {
    const std::lock_guard lock(mutex_rng);
    if (seed <= 0 || last_output == 0) restart();
    step();
    const long j = last_output / TABLE_DIVISOR;
    last_output = table[j];
    table[j] = seed;
    return std::min(static_cast<double>(last_output) * SCALE, LARGEST);
}

int getRandom(int n) {
    return static_cast<int>(std::floor(getRandom() * n));
}

long getSeed() {
    return seed;
}

double normalise(std::vector<double>& values) {
    double sum = 0.0;
    for (const double value : values) sum += value;
    if (sum != 0.0)
        for (double& value : values) value /= sum;
    return sum;
}

int sample(const std::vector<double>& values, double sum) {
    const double bound = getRandom() * sum;
    double running = 0.0;
    const int last = static_cast<int>(values.size()) - 1;
    for (int i = 0; i < last; ++i) {
        running += values[i];
        if (running > bound) return i;
    }
    return std::max(last, 0);
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

std::string getRandomID() {
    return boost::uuids::to_string(boost::uuids::random_generator()());
}

}  // namespace putils
