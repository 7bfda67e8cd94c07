#include "utils/sutils.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <limits>
#include <sstream>

#include "utils/lfile.h"

namespace sutils {

namespace {

template <class Value>
std::string joined(const std::vector<Value>& values, const std::string& separator) {
    std::ostringstream text;
    for (std::size_t i = 0; i < values.size(); ++i) text << (i == 0 ? "" : separator) << values[i];
    return text.str();
}

template <class Field>
int cut(const std::string& line, std::vector<Field>& fields, std::size_t most) {
    fields.clear();
    std::string_view rest = line;
    if (!rest.empty() && rest.back() == '\r') rest.remove_suffix(1);
    const auto is_gap = [](char c) { return c == ' ' || c == '\t'; };
    for (std::size_t at = 0; fields.size() < most;) {
        while (at < rest.size() && is_gap(rest[at])) ++at;
        if (at == rest.size()) break;
        const std::size_t start = at;
        while (at < rest.size() && !is_gap(rest[at])) ++at;
        fields.emplace_back(rest.substr(start, at - start));
    }
    return static_cast<int>(fields.size());
}

constexpr std::size_t NO_LIMIT = std::numeric_limits<std::size_t>::max();

}  // namespace

std::string int2str(int value) {
    return std::to_string(value);
}
std::string int2str(const std::vector<int>& values) {
    return joined(values, " ");
}
std::string long2str(long value) {
    return std::to_string(value);
}
std::string bool2str(const std::vector<bool>& values) {
    return joined(values, "");
}

std::string double2str(double value, int precision) {
    std::ostringstream text;
    text << std::fixed;
    if (precision > 0) text << std::setprecision(precision);
    text << value;
    return text.str();
}

std::string double2str(const std::vector<double>& values, int precision) {
    std::vector<std::string> texts;
    for (const double value : values) texts.push_back(double2str(value, precision));
    return joined(texts, " ");
}

std::string date2str(const long* time, const std::string& format) {
    const std::time_t seconds = *time;
    std::tm parts{};
    localtime_r(&seconds, &parts);
    char text[128];
    return {text, std::strftime(text, sizeof text, format.c_str(), &parts)};
}

int tokenize(const std::string& line, std::vector<std::string>& fields) {
    return cut(line, fields, NO_LIMIT);
}

int tokenize(const std::string& line, std::vector<std::string>& fields, int n) {
    return cut(line, fields, n > 0 ? static_cast<std::size_t>(n) : 0);
}

int tokenize(const std::string& line, std::vector<std::string_view>& fields) {
    return cut(line, fields, NO_LIMIT);
}

int str2int(std::string_view text, const std::string& file, long line) {
    const std::string number(text);
    errno = 0;
    const long value = std::strtol(number.c_str(), nullptr, 10);
    if (errno == ERANGE || value < INT_MIN || value > INT_MAX)
        LOG.error(file + " line " + long2str(line) + ": [" + number +
                  "] is out of range for a position (at most " + int2str(INT_MAX) + ")");
    return static_cast<int>(value);
}

double str2double(std::string_view field) {
    char* end = nullptr;
    const double value = std::strtod(field.data(), &end);
    // A field of other white space, as a vertical tab, has none; strtod would take the next field's number.
    return end <= field.data() + field.size() ? value : 0.0;
}

}  // namespace sutils
