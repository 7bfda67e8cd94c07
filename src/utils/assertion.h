#pragma once

/// Stops the process: writes "<file>:<line>: <function>: Assertion `<text>' failed." to standard error and
/// raises SIGABRT. Active in every build, since wrong haplotypes are worse for a user than a stopped run.
[[noreturn]] void assertion_failed(const char* text, const char* file, int line, const char* function);

/// Checks an internal condition; `text` is what the message says. Does nothing if the condition holds.
#define TOLVANE_ASSERT(condition, text) \
    ((condition) ? static_cast<void>(0) : assertion_failed(text, __FILE__, __LINE__, __func__))
