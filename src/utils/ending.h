#pragma once

/// Ends the process with `status`, at once and from any thread: no destructor runs that another thread might
/// still need.
[[noreturn]] void end_process(int status);

#ifdef TOLVANE_FUZZ
/// Thrown by end_process in place of an end: there, one process tries many inputs.
struct ended_process {
    int status;
};
#endif
