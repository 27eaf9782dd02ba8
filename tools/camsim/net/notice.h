#pragma once

#include <atomic>
#include <chrono>
#include <string>

namespace camsim {

// A line on standard error about something that may happen very often: at most one comes every few seconds.
// Any thread.
class CNotice {
public:
    explicit CNotice(std::string text) : text_(std::move(text)) {}
    void say();

private:
    using Clock = std::chrono::steady_clock;

    const std::string text_;
    std::atomic<Clock::duration> nextTime_{Clock::duration::min()}; // since the clock's epoch
};

} // namespace camsim
