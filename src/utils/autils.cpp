#include "utils/autils.h"

#include <algorithm>

#include "utils/putils.h"

namespace {

template <class Value>
int index_of_largest(const std::vector<Value>& values, Value largest) {
    int index = 0;
    for (std::size_t i = 0; i < values.size(); ++i)
        if (values[i] > largest) {
            largest = values[i];
            index = static_cast<int>(i);
        }
    return index;
}

template <class Value>
int index_of_smallest(const std::vector<Value>& values) {
    return static_cast<int>(std::min_element(values.begin(), values.end()) - values.begin());
}

}  // namespace

namespace autils {

int max(const std::vector<double>& values) {
    return index_of_largest(values, -1e300);
}
int max(const std::vector<int>& values) {
    return index_of_largest(values, -1000000000);
}

void decompose(int min_size, item_run items, std::vector<item_run>& out) {
    const int n = items.last - items.first + 1;
    if (n == 2 || 2 * min_size > n) {
        out.push_back(items);
        return;
    }
    const int cut = items.first + putils::getRandom(n - 2 * min_size) + min_size;
    // The split is drawn first, then the whole left part, then the right: the order of draws is fixed.
    decompose(min_size, {items.first, cut}, out);
    decompose(min_size, {cut - 1, items.last}, out);
}

}  // namespace autils

int argmin(const std::vector<float>& values) {
    return index_of_smallest(values);
}
int argmin(const std::vector<int>& values) {
    return index_of_smallest(values);
}

std::pair<int, int> argmin2(const std::vector<float>& values) {
    std::pair<int, int> smallest = values[1] < values[0] ? std::pair(1, 0) : std::pair(0, 1);
    for (std::size_t i = 2; i < values.size(); ++i) {
        if (values[i] < values[smallest.first])
            smallest = {static_cast<int>(i), smallest.first};
        else if (values[i] < values[smallest.second])
            smallest.second = static_cast<int>(i);
    }
    return smallest;
}
