#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/temporary_folder.h"

namespace e2e {

using arguments = std::vector<std::string>;

/// Splits a command line at blanks.
arguments words(const std::string& line);

/// Runs the program with `folder` as its current folder.
support::child_end run(const support::temporary_folder& folder, const arguments& args);
support::child_end run(const support::temporary_folder& folder, const std::string& line);
/// The same after calling `prepare` in the new process, which may change limits, environment and open files.
support::child_end run(const support::temporary_folder& folder, const std::string& line,
                       const std::function<void()>& prepare);

/// The program running in the background, without a console. The destructor kills it if it still runs.
class background_run {
  public:
    background_run(const support::temporary_folder& folder, const std::string& line);
    ~background_run();
    background_run(const background_run&) = delete;
    background_run& operator=(const background_run&) = delete;

    void signal(int number) const;
    /// Waits for its end and returns the exit status, or 128 + the number of the signal that ended it.
    int wait();

  private:
    pid_t process;
};

/// Console text without colours, the banner, and the progress lines that later ones overwrite.
std::string plain(const std::string& console);

/// The last line of the console that is not empty, without colours.
std::string last_line(const support::child_end& end);

/// Names of the files in `folder`, sorted.
std::vector<std::string> files_in(const support::temporary_folder& folder);

}  // namespace e2e
