#pragma once

#include <string>

/// File tests, and the failure messages that belong to files.
namespace futils {

/// True when `name` can be opened for reading and is no folder. A pipe is not opened, since opening and
/// closing it would end its writer.
bool isFile(const std::string& name);

/// Opens `name` for writing, leaving it created and empty; false when that is impossible.
bool createFile(const std::string& name);

/// Takes `name` for this process until it ends, creating it where it doesn't exist; false when another
/// process has taken it. Nothing in the file changes. What is no regular file, or can't be opened, or lies
/// where the system knows no locks, can't be taken and is let through.
bool takeFile(const std::string& name);

/// Text after the last ".", or empty when there is none.
std::string extensionFile(const std::string& name);

/// True when both names lead to one regular file (or, where neither exists yet, would lead to one).
bool isSameFile(const std::string& a, const std::string& b);

/// The two messages of a file that can't be used.
std::string cannotOpen(const std::string& name);
std::string cannotCreate(const std::string& name);

}  // namespace futils
