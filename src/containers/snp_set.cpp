#include "containers/snp_set.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "utils/assertion.h"
#include "utils/lfile.h"

namespace {

/// Interpolates linearly at `bp`, which must be within the map's first and last position.
double interpolate(const std::vector<int>& pos, const std::vector<double>& cm, int bp) {
    const auto below = std::lower_bound(pos.begin(), pos.end(), bp) - pos.begin() - 1;
    const auto above = std::upper_bound(pos.begin(), pos.end(), bp) - pos.begin();
    const auto left = std::max<std::ptrdiff_t>(below, 0);
    const auto right = std::min<std::ptrdiff_t>(above, static_cast<std::ptrdiff_t>(pos.size()) - 1);
    const auto travelled = static_cast<double>(std::int64_t{bp} - pos[left]);
    const auto length = static_cast<double>(std::int64_t{pos[right]} - pos[left]);
    return cm[left] + (cm[right] - cm[left]) * travelled / length;
}

}  // namespace

std::span<snp> snp_set::getByPos(int pos) {
    const auto is_before = [](const snp& s, int position) { return s.bp < position; };
    const auto is_behind = [](int position, const snp& s) { return position < s.bp; };
    const auto first = std::lower_bound(snp_list.begin(), snp_list.end(), pos, is_before);
    const auto end = std::upper_bound(first, snp_list.end(), pos, is_behind);
    return {first, end};
}

void snp_set::indexing() {
    for (int i = 0; i < size(); ++i) {
        TOLVANE_ASSERT(i == 0 || snp_list[i - 1].bp <= snp_list[i].bp, "positions do not decrease");
        snp_list[i].idx = i;
        snp_list[i].fill();
    }
}

int snp_set::setCentiMorgan(const std::vector<int>& pos, const std::vector<double>& cm) {
    std::size_t n_set = 0;
    for (std::size_t i = 0; i < cm.size(); ++i) {
        const std::span<snp> placed = getByPos(pos[i]);
        for (snp& variant : placed) variant.cm = cm[i];
        n_set += placed.size();
    }
    return static_cast<int>(n_set);
}

int snp_set::interpolateCentiMorgan(const std::vector<int>& pos, const std::vector<double>& cm) {
    const auto is_unset = [](const snp& s) { return s.cm < 0.0; };
    const bool complete = std::ranges::none_of(snp_list, is_unset);
    if (complete) return 0;
    if (pos.size() < 2) LOG.error("The genetic map must hold at least 2 positions");
    const double rate =
        (cm.back() - cm.front()) / static_cast<double>(std::int64_t{pos.back()} - pos.front());
    int n_interpolated = 0;
    for (snp& s : snp_list) {
        if (!is_unset(s)) continue;
        if (s.bp < pos.front())
            s.cm = cm.front() - static_cast<double>(std::int64_t{pos.front()} - s.bp) * rate;
        else if (s.bp > pos.back())
            s.cm = cm.back() + static_cast<double>(std::int64_t{s.bp} - pos.back()) * rate;
        else
            s.cm = interpolate(pos, cm, s.bp);
        ++n_interpolated;
    }
    const double lowest = snp_list.front().cm;
    if (lowest < 0.0)
        for (snp& s : snp_list) s.cm -= lowest;
    return n_interpolated;
}

std::vector<int> snp_set::rpartition(double size, random_source& random) const {
    const double span = static_cast<double>(snp_list.back().bp) - static_cast<double>(snp_list.front().bp);
    const double q = std::floor(span / size);
    // span / (span / q) is not always q: for some spans it rounds to just below q, which gives one window
    // fewer. A span of 0 is one window.
    const int w = span > 0.0 ? std::max(static_cast<int>(span / (span / q)), 1) : 1;
    const int n_snp = this->size();
    const int step = n_snp / w;
    std::vector<int> output(w + 1, 0);
    output[w] = n_snp;
    for (int i = 1; i < w; ++i) {
        const double r = static_cast<float>(random.draw_below(step));
        const int c = i * step;
        output[i] = static_cast<int>(r * 0.1 + c - 0.05 * step);
    }
    for (int i = 1; i <= w; ++i) {
        const int prev = output[i - 1];
        TOLVANE_REQUIRE((output[i] - prev) > 0, "(output[i] - prev) > 0",
                        std::to_string(n_snp) + " variants are too few for " + std::to_string(w) +
                            " windows: use a larger --window, or neither --cluster-size nor --fast.");
    }
    return output;
}
