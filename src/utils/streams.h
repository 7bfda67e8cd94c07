#pragma once

#include <boost/iostreams/filtering_stream.hpp>
#include <memory>
#include <string>

/// Input file, decompressed as its extension tells ("gz", "bz2", anything else plain). Damaged or truncated
/// data and read errors end the run with the file's name: they never read as a shorter file.
class ifile : public boost::iostreams::filtering_istream {
  public:
    ifile() = default;
    /// Opens `name`, or ends the run with the message of a file that can't be opened.
    explicit ifile(const std::string& name, bool binary_mode = false);

    /// Returns whether the file could be opened; a folder can't.
    bool open(const std::string& name, bool binary_mode = false);
    void close();
    const std::string& name() const { return file; }

    /// Reads the next line without its line end; false at the end of the file. The last line needs no
    /// line end, and a UTF-8 byte order mark at the head of the file is no part of its first line.
    bool getLine(std::string& line);
    /// Reads exactly `n` bytes; false when the file ends before.
    bool readBytes(char* bytes, std::streamsize n);
    /// Reads a text stored by ofile::writeString, up to its first zero byte; false when it is cut short.
    bool readString(std::string& text);

  private:
    [[noreturn]] void stopOnDamage(const std::exception& reason) const;

    std::string file;
    bool at_start = true;
};

/// Output file, compressed as its extension tells. A failed write or close ends the run with the file's name
/// and the reason, so half a file never passes for a whole one.
class ofile : public boost::iostreams::filtering_ostream {
  public:
    ofile() = default;
    /// Creates `name`, or ends the run with the message of a file that can't be created.
    explicit ofile(const std::string& name, bool binary_mode = false);
    /// Ends the file without a check: only close() tells that it is whole.
    ~ofile() override;
    ofile(const ofile&) = delete;
    ofile& operator=(const ofile&) = delete;

    /// Returns whether the file could be created.
    bool open(const std::string& name, bool binary_mode = false);
    /// Ends the compressed stream and the file, and checks both.
    void close();
    const std::string& name() const { return file; }

    /// Writes `n` bytes.
    void writeBytes(const char* bytes, std::streamsize n);
    void writeText(const std::string& text) {
        writeBytes(text.data(), static_cast<std::streamsize>(text.size()));
    }
    /// Writes the length as a 4-byte int in host order, then the bytes.
    void writeString(const std::string& text);

  private:
    void stopOnFailure() const;

    std::string file;
    std::shared_ptr<int> first_failure;  // errno of the first failed write or close, 0 while there is none
};
