#pragma once

#include <exception>
#include <ios>
#include <memory>
#include <string>

/// Input file, decompressed by its extension ("gz", "bz2", anything else plain). Damaged or truncated data
/// and read errors end the run with the file's name: they never read as a shorter file.
class ifile {
  public:
    ifile();
    /// Opens `name`, or ends the run with the message of a file that can't be opened.
    explicit ifile(const std::string& name, bool binary_mode = false);
    ~ifile();
    ifile(const ifile&) = delete;
    ifile& operator=(const ifile&) = delete;

    /// Returns whether the file could be opened; a folder can't.
    bool open(const std::string& name, bool binary_mode = false);
    void close();
    const std::string& name() const { return file; }

    /// Reads the next line without its line end; false at the end of the file. The last line needs no
    /// line end, and a UTF-8 byte order mark at the head of the file is no part of its first line.
    bool getLine(std::string& line);
    /// Reads exactly `n` bytes; false when the file ends before.
    bool readBytes(char* bytes, std::streamsize n);
    /// Number of bytes that the last readBytes read.
    std::streamsize gcount() const;

  private:
    struct chain;

    [[noreturn]] void stopOnDamage(const std::exception& reason) const;

    std::string file;
    std::unique_ptr<chain> stream;  // decompressor and device, empty while no file is open
    bool at_start = true;
};

/// Output file, compressed by its extension. A failed write or close ends the run with the file's name and
/// the reason, so half a file never passes for a whole one.
class ofile {
  public:
    ofile();
    /// Creates `name`, or ends the run with the message of a file that can't be created.
    explicit ofile(const std::string& name, bool binary_mode = false);
    /// Ends the file without a check: only after close() it is known to be whole.
    ~ofile();
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

  private:
    struct chain;

    void stopOnFailure(int reason) const;

    std::string file;
    std::unique_ptr<chain> stream;  // compressor and device, empty while no file is open
};
