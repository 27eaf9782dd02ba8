#pragma once

#include <chrono>

namespace corvane::bench {

class CStopwatch {
public:
    double seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }

private:
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start_ = Clock::now();
};

} // namespace corvane::bench
