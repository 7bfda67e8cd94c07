#include "utils/autils.h"

namespace autils {

int max(const std::vector<double>& values) {
    int index = 0;
    double largest = -1e300;
    for (std::size_t i = 0; i < values.size(); ++i)
        if (values[i] > largest) {
            largest = values[i];
            index = static_cast<int>(i);
        }
    return index;
}

void decompose(int min_size, item_run items, std::vector<item_run>& out, random_source& random) {
    const int n = items.last - items.first + 1;
    if (n == 2 || 2 * min_size > n) {
        out.push_back(items);
        return;
    }
    const int cut = items.first + random.draw_below(n - 2 * min_size) + min_size;
    // The split is drawn first, then all of the left part, then the right: the output depends on the order of
    // draws.
    decompose(min_size, {items.first, cut}, out, random);
    decompose(min_size, {cut - 1, items.last}, out, random);
}

}  // namespace autils
