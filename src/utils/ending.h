#pragma once

#include <string>

/// Ends the process with `status` at once; may be called from any thread. Runs no destructors, since other
/// threads may still use the objects, but removes unfinished files. Allocates no memory.
[[noreturn]] void end_process(int status);

/// A file that end_process removes as long as this object exists.
class unfinished_file {
  public:
    explicit unfinished_file(std::string name);
    ~unfinished_file();
    unfinished_file(const unfinished_file&) = delete;
    unfinished_file& operator=(const unfinished_file&) = delete;

    const std::string& name() const { return file; }

  private:
    friend void end_process(int);
    std::string file;
    unfinished_file* next;
};

#ifdef TOLVANE_FUZZ
/// Thrown by end_process instead of ending the process in fuzz builds, where one process tries many inputs.
struct ended_process {
    int status;
};
#endif
