#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

/// Runs code that ends its process in a child process, so that the test can continue.
namespace support {

struct child_end {
    bool returned = false;  // the function returned
    int status = -1;        // exit status of the process, -1 if a signal ended it
    int signal = 0;         // the signal that ended it
    std::string out;        // standard output of the process, and its standard error
    std::string err;
};

/// Calls `body` in a child process, which is stopped after two minutes.
child_end run_in_child(const std::function<void()>& body);

/// Whether `body` ends the run through LOG.error with exactly this message, and prints nothing after it.
::testing::AssertionResult stops_with(const std::string& message, const std::function<void()>& body);
/// The same for a message that contains all of these pieces.
::testing::AssertionResult stops_naming(const std::vector<std::string>& pieces,
                                        const std::function<void()>& body);
/// Whether `body` ends the process with a failed assertion of this text.
::testing::AssertionResult aborts_on(const std::string& assertion, const std::function<void()>& body);

}  // namespace support
