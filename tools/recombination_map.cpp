#include "tools/recombination_map.h"

#include <algorithm>

namespace simulation {

namespace {

constexpr double mean_rate = 1.2;  // cM per Mb
constexpr double share_in_hot_spots = 0.8;
constexpr double hot_spot_spacing = 50'000;        // bp, mean
constexpr int hot_spot_widths[] = {1'000, 3'000};  // bp, shortest and longest
constexpr int background_step = 10'000;            // bp between points of the background
constexpr int background_steps_of_one_rate = 20;

struct HotSpot {
    int first;    // bp
    int end;      // bp, one past the last base
    double rate;  // cM per Mb, on top of the background
};

// Hot spots do not overlap. Their strengths in cM are products of two exponentials: many are weak and a few
// are strong.
std::vector<HotSpot> draw_hot_spots(int first, int last, RandomSource& random) {
    const double mean_strength = mean_rate * share_in_hot_spots * hot_spot_spacing / 1e6;
    const auto [shortest, longest] = hot_spot_widths;
    std::vector<HotSpot> hot_spots;
    double start = first;
    while (true) {
        const int width = shortest + static_cast<int>(random.below(longest - shortest + 1));
        start += random.exponential() * (hot_spot_spacing - width);
        if (start + width > last) return hot_spots;
        const double strength = mean_strength * random.exponential() * random.exponential();
        const int from = static_cast<int>(start);
        hot_spots.push_back({from, from + width, strength / width * 1e6});
        start += width;
    }
}

// Background rates, each for a stretch of equal length.
std::vector<double> draw_background(int first, int last, RandomSource& random) {
    const int stretches = (last - first) / (background_step * background_steps_of_one_rate) + 1;
    std::vector<double> rates(stretches);
    for (double& rate : rates)
        rate = mean_rate * (1 - share_in_hot_spots) * (0.5 + 0.5 * random.exponential());
    return rates;
}

// Positions where the rate may change, in ascending order, with both ends of the region.
std::vector<int> map_positions(int first, int last, const std::vector<HotSpot>& hot_spots) {
    std::vector<int> positions{last};
    for (int position = first; position < last; position += background_step) positions.push_back(position);
    for (const HotSpot& hot_spot : hot_spots) {
        positions.push_back(hot_spot.first);
        positions.push_back(hot_spot.end);
    }
    std::sort(positions.begin(), positions.end());
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
    return positions;
}

}  // namespace

double RecombinationMap::centimorgans(int position) const {
    const auto next = std::upper_bound(points_.begin(), points_.end(), position,
                                       [](int bp, const MapPoint& point) { return bp < point.position; });
    if (next == points_.begin()) return points_.front().centimorgans;
    const MapPoint& point = *(next - 1);
    return point.centimorgans + (position - point.position) * point.rate / 1e6;
}

RecombinationMap draw_recombination_map(int first, int last, RandomSource& random) {
    const std::vector<HotSpot> hot_spots = draw_hot_spots(first, last, random);
    const std::vector<double> background = draw_background(first, last, random);
    auto hot_spot = hot_spots.begin();
    double centimorgans = first * mean_rate / 1e6;
    std::vector<MapPoint> points;
    for (const int position : map_positions(first, last, hot_spots)) {
        if (!points.empty()) {
            centimorgans += (position - points.back().position) * points.back().rate / 1e6;
        }
        while (hot_spot != hot_spots.end() && hot_spot->end <= position) ++hot_spot;
        double rate = background[(position - first) / (background_step * background_steps_of_one_rate)];
        if (hot_spot != hot_spots.end() && hot_spot->first <= position) rate += hot_spot->rate;
        points.push_back({position, position == last ? 0.0 : rate, centimorgans});
    }
    return RecombinationMap(std::move(points));
}

}  // namespace simulation
