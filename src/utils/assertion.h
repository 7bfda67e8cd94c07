#pragma once

/// Stops the process: writes "<file>:<line>: <function>: Assertion `<text>' failed." to standard error and
/// raises SIGABRT. Works in every build, since a wrong phase costs a user more than a stopped run.
[[noreturn]] void assertion_failed(const char* text, const char* file, int line, const char* function);

/// Checks an internal promise, whose wording is `text`; does nothing when it holds.
#define TOLVANE_ASSERT(condition, text) \
    ((condition) ? static_cast<void>(0) : assertion_failed(text, __FILE__, __LINE__, __func__))
