#pragma once

#include <string>

/// Stops the process: writes "<file>:<line>: <function>: Assertion `<text>' failed." to standard error and
/// raises SIGABRT. Active in every build, since wrong haplotypes are worse for a user than a stopped run.
[[noreturn]] void assertion_failed(const char* text, const char* file, int line, const char* function);

/// Writes a line to standard error.
void advise(const std::string& line);

/// Checks a condition that options or data can break if they do not go together. `advice`, a string that is
/// only evaluated if the condition fails, says in one line what to change; the message of the assertion
/// follows it.
#define TOLVANE_REQUIRE(condition, text, advice) \
    ((condition) ? static_cast<void>(0)          \
                 : (advise(advice), assertion_failed(text, __FILE__, __LINE__, __func__)))

/// Checks an internal condition; `text` is what the message says. Does nothing if the condition holds.
#define TOLVANE_ASSERT(condition, text) \
    ((condition) ? static_cast<void>(0) : assertion_failed(text, __FILE__, __LINE__, __func__))
