#include "spare/list_texts.h"

#include "utils/sutils.h"

namespace spare {

namespace {

/// The texts of all values, separated by `separator`.
template <class Value, class Text>
std::string joined(const std::vector<Value>& values, const std::string& separator, Text text_of) {
    std::string text;
    for (std::size_t i = 0; i < values.size(); ++i) text += (i == 0 ? "" : separator) + text_of(values[i]);
    return text;
}

}  // namespace

std::string int2str(const std::vector<int>& values) {
    return joined(values, " ", [](int value) { return std::to_string(value); });
}

std::string double2str(const std::vector<double>& values, int precision) {
    return joined(values, " ", [precision](double value) { return sutils::double2str(value, precision); });
}

std::string bool2str(const std::vector<bool>& values) {
    return joined(values, "", [](bool value) { return std::string(value ? "1" : "0"); });
}

}  // namespace spare
