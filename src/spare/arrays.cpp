#include "spare/arrays.h"

#include <algorithm>

namespace spare {

namespace {

constexpr int SEARCH_START = -1000000000;

template <class Value>
int index_of_smallest(const std::vector<Value>& values) {
    return static_cast<int>(std::min_element(values.begin(), values.end()) - values.begin());
}

}  // namespace

int argmax(const std::vector<int>& values) {
    int index = 0, largest = SEARCH_START;
    for (std::size_t i = 0; i < values.size(); ++i)
        if (values[i] > largest) {
            largest = values[i];
            index = static_cast<int>(i);
        }
    return index;
}

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

}  // namespace spare
