#pragma once

#include <algorithm>
#include <chrono>

namespace corvane::vorn_utility::v1_0 {

struct SRetryTimes {
    // After a request that failed. The first repetition is made at once, the second after the shortest, and
    // so on, each time twice as long up to the longest.
    std::chrono::milliseconds shortest{50};
    std::chrono::milliseconds longest{1'000};
    // After one that the camera refused, lest it lock the account: before the first repetition, too.
    std::chrono::milliseconds shortestRefused{1'000};
    std::chrono::milliseconds longestRefused{30'000};
};

// How long to wait before a request is repeated.
class CRetryPace {
public:
    explicit CRetryPace(const SRetryTimes& times) : times_(times) {}

    std::chrono::milliseconds afterFailure() {
        const auto wait = std::min(next_, times_.longest);
        next_ = std::clamp(2 * wait, times_.shortest, times_.longest);
        return wait;
    }
    std::chrono::milliseconds afterRefusal() {
        const auto wait = std::max(next_, times_.shortestRefused);
        next_ = std::min(2 * wait, times_.longestRefused);
        return wait;
    }
    void forget() { next_ = std::chrono::milliseconds::zero(); }

private:
    const SRetryTimes times_;
    std::chrono::milliseconds next_{0};
};

} // namespace corvane::vorn_utility::v1_0
