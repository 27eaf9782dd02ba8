#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace corvane::test_support {

// Waits for what no condition variable tells; false after half a minute.
inline bool WaitUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace corvane::test_support
