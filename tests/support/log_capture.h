#pragma once

#include <sstream>
#include <string>

#include "support/temporary_folder.h"

namespace support {

/// During its lifetime, LOG writes to "run.log" in a temporary folder, and console output is captured.
class log_capture {
  public:
    log_capture();
    ~log_capture();
    log_capture(const log_capture&) = delete;
    log_capture& operator=(const log_capture&) = delete;

    const temporary_folder& folder() const { return files; }
    std::string console() const { return caught.str(); }
    std::string log() const;
    /// Clears the captured console output. The log is not changed.
    void clear_console() { caught.str(""); }

  private:
    temporary_folder files;
    std::ostringstream caught;
    std::streambuf* console_before;
};

/// Captures standard error during its lifetime.
class error_output_capture {
  public:
    error_output_capture();
    ~error_output_capture();
    error_output_capture(const error_output_capture&) = delete;
    error_output_capture& operator=(const error_output_capture&) = delete;

    std::string text() const { return caught.str(); }

  private:
    std::ostringstream caught;
    std::streambuf* before;
};

}  // namespace support
