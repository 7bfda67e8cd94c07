#pragma once

#include <sstream>
#include <string>

#include "support/temporary_folder.h"

namespace support {

/// While it lives, LOG writes to "run.log" in a folder of its own, and what goes to the console is kept.
class log_capture {
  public:
    log_capture();
    ~log_capture();
    log_capture(const log_capture&) = delete;
    log_capture& operator=(const log_capture&) = delete;

    const temporary_folder& folder() const { return files; }
    std::string console() const { return caught.str(); }
    std::string log() const;
    /// Forgets the console's text so far. The log keeps all.
    void clear_console() { caught.str(""); }

  private:
    temporary_folder files;
    std::ostringstream caught;
    std::streambuf* console_before;
};

}  // namespace support
