#pragma once

#include <chrono>
#include <thread>

namespace support {

/// Gives way to other threads until `condition()` holds, for at most twenty seconds. Returns whether it does.
template <class Condition>
bool wait_until(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) return false;
        std::this_thread::yield();
    }
    return true;
}

}  // namespace support
