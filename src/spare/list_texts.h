#pragma once

#include <string>
#include <vector>

namespace spare {

/// Entries separated by one blank.
std::string int2str(const std::vector<int>& values);
/// The same, with each entry formatted by sutils::double2str.
std::string double2str(const std::vector<double>& values, int precision = 0);
/// One character "0" or "1" per entry.
std::string bool2str(const std::vector<bool>& values);

}  // namespace spare
