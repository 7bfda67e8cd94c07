#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

/// Text conversions, and splitting of lines into fields.
namespace sutils {

std::string int2str(int value);
std::string long2str(long value);
/// Fixed notation with `precision` decimals, 6 when it is not above 0.
std::string double2str(double value, int precision = 0);
/// Local time of `time` (seconds since 1970) in the form of strftime, up to 127 bytes.
std::string date2str(const long* time, const std::string& format);

inline bool is_gap(char c) {
    return c == ' ' || c == '\t';
}

/// The line without a carriage return at its end.
inline std::string_view without_return(std::string_view line) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
}

static_assert(std::endian::native == std::endian::little, "texts are compared as words, first byte lowest");

/// Iterates over the fields of a line, split as by tokenize. The line must outlive its fields.
class field_cursor {
  public:
    explicit field_cursor(std::string_view line) : at(line.data()), end(at + without_return(line).size()) {}

    /// The next field; empty when there is none left.
    std::string_view next() {
        while (at < end && is_gap(*at)) ++at;
        const char* const start = at;
        while (at < end && !is_gap(*at)) ++at;
        return {start, static_cast<std::size_t>(at - start)};
    }

    /// If each of the next three fields is "0" or "1", with one blank before each and after the last, takes
    /// them and returns them as bits, the first one lowest. Otherwise takes nothing and returns -1. Most
    /// genotypes of most files have this form.
    int next_three_bits() {
        constexpr std::uint64_t FORM = 0x0020302030203020, BITS = 0x0000010001000100,
                                BYTES = 0x00FFFFFFFFFFFFFF;
        std::uint64_t text;
        if (end - at < static_cast<std::ptrdiff_t>(sizeof text)) return -1;
        std::memcpy(&text, at, sizeof text);
        if ((text & BYTES & ~BITS) != FORM) return -1;
        at += 6;
        return static_cast<int>((text >> 8 & 1) | (text >> 23 & 2) | (text >> 38 & 4));
    }

  private:
    const char* at;
    const char* end;
};

/// Number of fields into which tokenize would split the line.
int count_fields(std::string_view line);

/// Splits a line at runs of blanks and tabs, dropping leading ones and a carriage return at the end of the
/// line. Returns the number of fields; with `n`, stops after n fields.
int tokenize(const std::string& line, std::vector<std::string>& fields);
int tokenize(const std::string& line, std::vector<std::string>& fields, int n);
/// The same without copies: the fields are views into `line`, which must outlive them.
int tokenize(const std::string& line, std::vector<std::string_view>& fields);

/// The integer at the start of `text`, 0 if there is none: a position at `line` of `file`, counted from 1.
/// Ends the run if it does not fit in an int. Text that is not wholly a number from 0 on is refused.
int str2int(std::string_view text, const std::string& file, long line);
/// The number at the start of a field of a line, 0 if there is none. The field must be followed by a blank, a
/// tab or the terminating zero of its line.
double parse_double(std::string_view field);
/// The same, with a fast path for single digits, which most fields of a genotype file are.
inline double str2double(std::string_view field) {
    const bool is_digit = field.size() == 1 && field[0] >= '0' && field[0] <= '9';
    return is_digit ? field[0] - '0' : parse_double(field);
}

/// Whether a field is wholly a finite number in decimal notation, with or without an exponent.
bool is_number(std::string_view field);

}  // namespace sutils
