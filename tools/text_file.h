#pragma once

#include <boost/iostreams/filtering_stream.hpp>
#include <fstream>
#include <memory>
#include <string>

struct BGZF;

namespace tools {

/// A file to write; compressed if its name ends in .gz. The same content gives the same bytes.
class TextWriter {
  public:
    /// Throws std::runtime_error if the file cannot be created.
    explicit TextWriter(const std::string& path);

    void write(const std::string& text) {
        stream_.write(text.data(), static_cast<std::streamsize>(text.size()));
    }

    /// Must be called after the last write. Throws std::runtime_error if anything could not be written.
    void close();

  private:
    std::string path_;
    std::ofstream file_;
    boost::iostreams::filtering_ostream stream_;  // the last element is the file
};

/// A file to write, compressed in blocks as the index of a VCF needs it (bgzip).
class BlockWriter {
  public:
    /// Throws std::runtime_error if the file cannot be created.
    explicit BlockWriter(const std::string& path);

    /// Throws std::runtime_error if the text cannot be written.
    void write(const std::string& text);
    /// Must be called after the last write. Throws std::runtime_error if anything could not be written.
    void close();

  private:
    struct Closer {
        void operator()(BGZF* file) const;
    };

    std::string path_;
    std::unique_ptr<BGZF, Closer> file_;
};

/// A file to read line by line; decompressed if its name ends in .gz.
class TextReader {
  public:
    /// Throws std::runtime_error if the file cannot be opened.
    explicit TextReader(const std::string& path);

    /// Reads the next line without its line end (\n or \r\n); false after the last one. Throws
    /// std::runtime_error on a read error.
    bool next(std::string& line);

    /// "file, line N", where N is the line last read.
    std::string place() const;

  private:
    std::string path_;
    boost::iostreams::filtering_istream stream_;
    int line_number_ = 0;
};

}  // namespace tools
