#pragma once

/// Ends the process with `status` at once; may be called from any thread. Runs no destructors, since other
/// threads may still use the objects.
[[noreturn]] void end_process(int status);

#ifdef TOLVANE_FUZZ
/// Thrown by end_process instead of ending the process in fuzz builds, where one process tries many inputs.
struct ended_process {
    int status;
};
#endif
