#pragma once

#include <string>
#include <vector>

namespace support {

void write_file(const std::string& path, const std::string& bytes);
/// The bytes of a file; throws when it can't be read.
std::string read_file(const std::string& path);

/// The bytes of a whole compressed file, made and opened without the streams under test.
std::string gzip(const std::string& bytes);
std::string bzip2(const std::string& bytes);
std::string gunzip(const std::string& bytes);
std::string bunzip2(const std::string& bytes);

/// The lines of a text; an unfinished last line counts too.
std::vector<std::string> lines_of(const std::string& text);

}  // namespace support
