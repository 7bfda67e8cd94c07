#include "utils/sutils.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <limits>
#include <sstream>

#include "utils/lfile.h"

namespace sutils {

namespace {

template <class Field>
int cut(const std::string& line, std::vector<Field>& fields, std::size_t most) {
    fields.clear();
    field_cursor cursor(line);
    while (fields.size() < most) {
        const std::string_view field = cursor.next();
        if (field.empty()) break;
        fields.emplace_back(field);
    }
    return static_cast<int>(fields.size());
}

/// Whether a text has digits only. A carriage return at the end of a line does not count.
bool is_position(std::string_view text) {
    const std::string_view digits = without_return(text);
    return !digits.empty() &&
           std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
}

constexpr std::size_t NO_LIMIT = std::numeric_limits<std::size_t>::max();

}  // namespace

std::string int2str(int value) {
    return std::to_string(value);
}
std::string long2str(long value) {
    return std::to_string(value);
}

std::string double2str(double value, int precision) {
    std::ostringstream text;
    text << std::fixed;
    if (precision > 0) text << std::setprecision(precision);
    text << value;
    return text.str();
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
    if (LOG.isStrict() && !is_position(number))
        LOG.refuse("position", file, line, "[" + number + "]",
                   "a whole number from 0 to " + int2str(INT_MAX));
    return static_cast<int>(value);
}

double parse_double(std::string_view field) {
    constexpr std::size_t MOST_EXACT = 15;  // digits that a double represents exactly
    static constexpr double TENS[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                      1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    // A short number with a decimal point is the quotient of two exact doubles. It is rounded once, so it has
    // the same bits as the result of strtod (Clinger 1990).
    std::int64_t digits = 0;
    int n_decimals = 0;
    bool behind_point = false, is_plain = field.size() <= MOST_EXACT;
    for (std::size_t i = 0; is_plain && i < field.size(); ++i) {
        const char c = field[i];
        if (c >= '0' && c <= '9') {
            digits = 10 * digits + (c - '0');
            n_decimals += behind_point;
        } else {
            is_plain = c == '.' && !behind_point;
            behind_point = true;
        }
    }
    if (is_plain) return static_cast<double>(digits) / TENS[n_decimals];

    char* end = nullptr;
    const double value = std::strtod(field.data(), &end);
    // A field of other white space, such as a vertical tab, has no number; strtod would read the next
    // field's.
    return end <= field.data() + field.size() ? value : 0.0;
}

bool is_number(std::string_view field) {
    if (field.starts_with('+')) field.remove_prefix(1);
    double value = 0.0;
    const auto [end, failure] = std::from_chars(field.data(), field.data() + field.size(), value);
    return failure == std::errc() && end == field.data() + field.size() && std::isfinite(value);
}

int count_fields(std::string_view line) {
    const char* text = line.data();
    const std::size_t n = without_return(line).size();
    // A field starts at a character after a gap or at the start of the line. Branch-free, so that the
    // compiler vectorises it.
    int count = n > 0 && !is_gap(text[0]);
    for (std::size_t i = 1; i < n; ++i) count += int{is_gap(text[i - 1])} & int{!is_gap(text[i])};
    return count;
}

}  // namespace sutils
