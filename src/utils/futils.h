#pragma once

#include <string>

/// File checks, and error messages about files.
namespace futils {

/// True if `name` can be opened for reading and is not a folder. The file is not opened, since opening and
/// closing a pipe would end its writer.
bool isFile(const std::string& name);

/// Creates `name`, or empties it; false if that is impossible.
bool createFile(const std::string& name);

/// Locks `name` for this process until it ends, and creates it if it doesn't exist; false if another process
/// has locked it. The content does not change. Files that are not regular, can't be opened, or are on a file
/// system without locks are not locked, and the result is true.
bool takeFile(const std::string& name);

/// Text after the last ".", or empty when there is none.
std::string extensionFile(const std::string& name);

/// True if both names refer to the same regular file (or, if neither exists yet, would refer to one).
bool isSameFile(const std::string& a, const std::string& b);

/// The messages for a file that can't be used.
std::string cannotOpen(const std::string& name);
std::string cannotCreate(const std::string& name);

}  // namespace futils
