#pragma once

#include <fstream>
#include <string>
#include <string_view>

/// How a run responds to input that it accepts although it is probably wrong: it says nothing, ends, or lists
/// it and goes on.
enum class strictness { lenient, strict, listing };

/// Prints all messages of the program to the console and duplicates them in a log file. There is no lock:
/// run_pass makes sure that only one thread at a time prints progress.
class lfile {
  public:
    /// Opens `name` for writing, with ".log" appended unless its extension is exactly "log".
    /// Returns whether the file could be opened.
    bool open(const std::string& name);
    /// Closes the log file. Ends the run if that fails.
    void close();

    /// The log file's name as opened, or as it would be opened for `name`.
    const std::string& name() const { return file; }
    static std::string nameFor(const std::string& name);
    /// The text before the last ".", or the whole text if there is none. Side files are named after it.
    static std::string getPrefix(const std::string& text);

    void muteL() { verbose_l = false; }
    void unmuteL() { verbose_l = true; }
    void muteC() { verbose_c = false; }
    void unmuteC() { verbose_c = true; }

    /// Both channels, log first; println ends the line.
    void print(const std::string& text);
    void println(const std::string& text);
    /// Console only.
    void printC(const std::string& text);
    void printlnC(const std::string& text);
    /// Log only.
    void printL(const std::string& text);
    void printlnL(const std::string& text);

    void setStrictness(strictness s) { response = s; }
    /// Whether probably wrong input matters. Checks that take time are skipped if not.
    bool isStrict() const { return response != strictness::lenient; }
    /// Responds to probably wrong input at `line` of `file`, counted from 1; line 0 stands for the whole
    /// file. `rule` is its name in docs/strict.md. Does nothing by default, ends the run if it is strict.
    void refuse(const char* rule, const std::string& input, long line, const std::string& found,
                const std::string& expected);
    /// How often refuse() was called in a listing run.
    long nRefused() const { return n_refused; }

    /// A yellow "WARNING:" on the console whether muted or not, a plain one in the log. The run goes on.
    void warning(const std::string& message);
    /// The same with "ERROR:", and then ends the process with status 1. May be called from any thread: no
    /// destructors run, since other threads may still use the objects. Both streams are flushed first.
    [[noreturn]] void error(const std::string& message);
    /// The same for a run whose memory has run out. Allocates none.
    [[noreturn]] void outOfMemory();

  private:
    void writeLog(const std::string& text);
    [[noreturn]] void endRun(std::string_view console_line, std::string_view log_line);
    [[noreturn]] void stopOnFailure(int reason);

    std::string file;
    std::ofstream stream;
    strictness response = strictness::lenient;
    long n_refused = 0;
    bool verbose_c = true;
    bool verbose_l = true;
};

extern lfile LOG;
