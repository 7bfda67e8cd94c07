#pragma once

#include <string>

/// File checks, and error messages about files.
namespace futils {

/// True if `name` can be opened for reading and is not a folder. The file is not opened, since opening and
/// closing a pipe would end its writer.
bool isFile(const std::string& name);

/// The path of the file called `name`, which need not exist, with all links followed; empty if it can't be
/// determined, as for an empty name.
std::string destination(const std::string& name);

/// Text after the last ".", or empty when there is none.
std::string extensionFile(const std::string& name);

/// True if both names refer to the same file (or, if neither exists yet, would refer to one). Devices such as
/// /dev/null don't count: they may be used for several purposes.
bool isSameFile(const std::string& a, const std::string& b);
/// The same for a file that is already open.
bool isSameFile(int descriptor, const std::string& name);

/// The messages for a file that can't be used.
std::string cannotOpen(const std::string& name);
std::string cannotCreate(const std::string& name);

}  // namespace futils
