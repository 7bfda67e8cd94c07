#pragma once

#include <string>
#include <vector>

namespace support {

void write_file(const std::string& path, const std::string& bytes);
/// The bytes of a file; throws if it can't be read.
std::string read_file(const std::string& path);

/// The bytes of a compressed file. Compressed and decompressed without the streams under test.
std::string gzip(const std::string& bytes);
std::string bzip2(const std::string& bytes);
std::string gunzip(const std::string& bytes);
std::string bunzip2(const std::string& bytes);

/// The lines of a text, including a last line without a line end.
std::vector<std::string> lines_of(const std::string& text);

}  // namespace support
