#pragma once

#include <string>
#include <vector>

#include "utils/streams.h"

/// The output files of a run, which no other run of the program can take before this object is destroyed.
class output_files {
  public:
    output_files() = default;
    ~output_files();
    output_files(const output_files&) = delete;
    output_files& operator=(const output_files&) = delete;

    /// Locks the file `name`, and creates it if it doesn't exist. Its content does not change. Ends the run
    /// if another one has locked it. A file that can't be opened for writing, isn't regular, or is on a file
    /// system without locks is not locked.
    void take(const std::string& name);
    /// The same, and ends the run if the file can't be written. A file that is not regular is opened here and
    /// stays open until open(): a reader at the other end of a named pipe sees it end when it is closed.
    void prepare(const std::string& name);
    /// Opens a prepared file for writing. Ends the run if that fails.
    void open(const std::string& name, ofile& stream);

    /// The first file that was taken and whose name now refers to another file; empty if there is none. A
    /// file that was only removed is taken again, with a warning.
    std::string replaced();
    /// Ends the run if there is one.
    void check();

  private:
    struct taken_file {
        std::string name;
        int descriptor;
        bool is_special;
    };
    bool lock(const std::string& name);

    std::vector<taken_file> files;
};
