#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

/// Runs code that ends its process: in a copy of the test's process, so that the test can go on.
namespace support {

struct child_end {
    bool returned = false;  // the function came back
    int status = -1;        // exit status of the process, -1 when a signal ended it
    int signal = 0;         // the signal that ended it
    std::string out;        // what it wrote to standard output, and to standard error
    std::string err;
};

/// Calls `body` in a child. A body that doesn't end within two minutes is stopped.
child_end run_in_child(const std::function<void()>& body);

/// Whether `body` ends the run through LOG.error with just this message, as its last words.
::testing::AssertionResult stops_with(const std::string& message, const std::function<void()>& body);
/// The same for a message that holds all of these pieces.
::testing::AssertionResult stops_naming(const std::vector<std::string>& pieces,
                                        const std::function<void()>& body);
/// Whether `body` ends the process by the failed assertion of this text.
::testing::AssertionResult aborts_on(const std::string& assertion, const std::function<void()>& body);

}  // namespace support
