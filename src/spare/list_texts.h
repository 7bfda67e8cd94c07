#pragma once

#include <string>
#include <vector>

namespace spare {

/// Entries separated by one blank.
std::string int2str(const std::vector<int>& values);
/// The same, each as sutils::double2str writes it.
std::string double2str(const std::vector<double>& values, int precision = 0);
/// One character "0" or "1" an entry.
std::string bool2str(const std::vector<bool>& values);

}  // namespace spare
