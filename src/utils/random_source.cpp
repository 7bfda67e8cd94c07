#include "utils/random_source.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr long MULTIPLIER = 16807;
constexpr long MODULUS = 2147483647;
constexpr long QUOTIENT = 127773;  // MODULUS / MULTIPLIER and its remainder, after Schrage (1979)
constexpr long REMAINDER = 2836;
constexpr long TABLE_DIVISOR = 67108864;  // 1 + (MODULUS - 1) / TABLE_SIZE
constexpr int WARM_UP = 8;
constexpr double SCALE = 4.656612875245797e-10;  // 1 / MODULUS
constexpr double LARGEST = 0.99999988;

static_assert(MODULUS / MULTIPLIER == QUOTIENT && MODULUS % MULTIPLIER == REMAINDER);

}  // namespace

void random_source::step() {
    const long k = state / QUOTIENT;
    state = MULTIPLIER * (state - k * QUOTIENT) - REMAINDER * k;
    if (state < 0) state += MODULUS;
}

void random_source::restart() {
    static_assert(TABLE_DIVISOR == 1 + (MODULUS - 1) / TABLE_SIZE);
    state = state < 0 ? -state : 1;
    for (int j = TABLE_SIZE + WARM_UP - 1; j >= 0; --j) {
        step();
        if (j < TABLE_SIZE) table[j] = state;
    }
    last_output = table[0];
}

double random_source::draw() {
    if (state <= 0 || last_output == 0) restart();
    step();
    const long j = last_output / TABLE_DIVISOR;
    last_output = table[j];
    table[j] = state;
    return std::min(static_cast<double>(last_output) * SCALE, LARGEST);
}

int random_source::draw_below(int n) {
    return static_cast<int>(std::floor(draw() * n));
}

void random_source::skip(int n) {
    for (int i = 0; i < n; ++i) draw();
}

int random_source::draw_index(const std::vector<double>& weights, double sum) {
    const double bound = draw() * sum;
    double running = 0.0;
    const int last = static_cast<int>(weights.size()) - 1;
    for (int i = 0; i < last; ++i) {
        running += weights[i];
        if (running > bound) return i;
    }
    return std::max(last, 0);
}
