#pragma once

#include <exception>
#include <ios>
#include <memory>
#include <string>
#include <string_view>

#include "utils/pending_file.h"

/// Input file, decompressed according to its extension ("gz", "bz2", anything else plain). Damaged or
/// truncated data and read errors end the run with a message that names the file, so they never look like a
/// shorter file; so does gzip or bzip2 data in a file of another name.
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

    void stopAtCompression(std::string_view start, bool is_binary) const;
    [[noreturn]] void stopOnDamage(const std::exception& reason) const;

    std::string file;
    std::unique_ptr<chain> stream;  // decompressor and device, empty while no file is open
    bool at_start = true;
};

/// Output file, compressed according to its extension. It gets its name when it is complete, see
/// pending_file. A failed write or close ends the run with the name of the file and the reason.
class ofile {
  public:
    ofile();
    /// Creates `name`. Ends the run if that fails.
    explicit ofile(const std::string& name, bool binary_mode = false);
    /// Discards the file unless close() or publish() was called.
    ~ofile();
    ofile(const ofile&) = delete;
    ofile& operator=(const ofile&) = delete;

    /// Returns whether the file could be created.
    bool open(const std::string& name, bool binary_mode = false);
    /// Writes to an open file, which finish() closes.
    void open(const std::string& name, int descriptor);
    const std::string& name() const { return file; }

    /// Writes `n` bytes.
    void writeBytes(const char* bytes, std::streamsize n);
    void writeText(const std::string& text) {
        writeBytes(text.data(), static_cast<std::streamsize>(text.size()));
    }

    /// Ends the compressed stream and the file, and checks both.
    void finish();
    /// Gives the finished file its name. Returns 0, or the reason (errno) if that is impossible.
    int tryPublish();
    /// The same, and ends the run if that is impossible. The complete file stays under its temporary name.
    void publish();
    /// finish() and publish().
    void close();
    /// Leaves the finished file under the name that it has now, which is returned.
    std::string keep();

  private:
    struct chain;

    void start(int descriptor);
    void stopOnFailure(int reason) const;

    std::string file;
    std::unique_ptr<pending_file> pending;  // empty if the file was opened by the caller
    std::unique_ptr<chain> stream;          // compressor and device, empty while no file is open
};
