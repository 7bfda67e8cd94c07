#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Text conversions, and the cutting of lines into fields.
namespace sutils {

std::string int2str(int value);
/// Entries separated by one blank.
std::string int2str(const std::vector<int>& values);
std::string long2str(long value);
/// One character "0" or "1" an entry.
std::string bool2str(const std::vector<bool>& values);
/// Fixed notation with `precision` decimals, 6 when it is not above 0.
std::string double2str(double value, int precision = 0);
/// Entries separated by one blank.
std::string double2str(const std::vector<double>& values, int precision = 0);
/// Local time of `time` (seconds since 1970) in the form of strftime, up to 127 bytes.
std::string date2str(const long* time, const std::string& format);

/// Cuts a line at runs of blanks and tabs, dropping leading ones and one carriage return at the line's end.
/// Returns the number of fields; with `n`, stops once n fields are taken.
int tokenize(const std::string& line, std::vector<std::string>& fields);
int tokenize(const std::string& line, std::vector<std::string>& fields, int n);
/// The same without copies: the fields are views of `line`, which must outlive them.
int tokenize(const std::string& line, std::vector<std::string_view>& fields);

/// The whole number at the head of `text`, 0 when there is none. A number that does not fit an int ends the
/// run with the file, the line (`line`, as the reader counts) and the text.
int str2int(std::string_view text, const std::string& file, long line);
/// The number at the head of a field of a line; 0 when there is none. The field must be followed by a blank,
/// a tab or the terminating zero of its line.
double str2double(std::string_view field);

}  // namespace sutils
