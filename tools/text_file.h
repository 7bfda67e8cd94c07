#pragma once

#include <boost/iostreams/filtering_stream.hpp>
#include <fstream>
#include <string>

namespace tools {

/// A file written as a whole; compressed if its name ends in .gz. The same content gives the same bytes.
class TextWriter {
  public:
    /// Throws std::runtime_error if the file cannot be created.
    explicit TextWriter(const std::string& path);

    void write(const std::string& text) {
        stream_.write(text.data(), static_cast<std::streamsize>(text.size()));
    }

    /// Must be called after the last text. Throws std::runtime_error if any of it could not be written.
    void close();

  private:
    std::string path_;
    std::ofstream file_;
    boost::iostreams::filtering_ostream stream_;  // ends in the file
};

/// A file read line by line; decompressed if its name ends in .gz.
class TextReader {
  public:
    /// Throws std::runtime_error if the file cannot be opened.
    explicit TextReader(const std::string& path);

    /// Gets the next line without its end (a carriage return belongs to the end); false after the last one.
    /// Throws std::runtime_error if the file cannot be read on.
    bool next(std::string& line);

    /// "file, line N", where N is the line last read.
    std::string place() const;

  private:
    std::string path_;
    boost::iostreams::filtering_istream stream_;
    int line_number_ = 0;
};

}  // namespace tools
