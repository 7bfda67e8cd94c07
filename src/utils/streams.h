#pragma once

#include <exception>
#include <ios>
#include <memory>
#include <string>

/// Input file, decompressed according to its extension ("gz", "bz2", anything else plain). Damaged or
/// truncated data and read errors end the run with a message that names the file, so they never look like a
/// shorter file.
class ifile {
  public:
    ifile();
    /// Opens `name`. Ends the run if that fails.
    explicit ifile(const std::string& name, bool binary_mode = false);
    ~ifile();
    ifile(const ifile&) = delete;
    ifile& operator=(const ifile&) = delete;

    /// Returns whether the file could be opened. A folder can't.
    bool open(const std::string& name, bool binary_mode = false);
    void close();
    const std::string& name() const { return file; }

    /// Reads the next line without its line end; false at the end of the file. The last line needs no line
    /// end. A UTF-8 byte order mark at the start of the file is skipped.
    bool getLine(std::string& line);
    /// Reads exactly `n` bytes; false if the file ends before.
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

/// Output file, compressed according to its extension. A failed write or close ends the run with the name of
/// the file and the reason, so a truncated file never looks complete.
class ofile {
  public:
    ofile();
    /// Creates `name`. Ends the run if that fails.
    explicit ofile(const std::string& name, bool binary_mode = false);
    /// Closes the file without a check. Only close() makes sure that it is complete.
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
