#pragma once

#include "site/diagnosis/exchange_watch.h"
#include "tools/vornhost/names.h"

#include <optional>
#include <string>
#include <vector>

namespace corvane::vornhost {

// How far a camera's clock is ahead of this machine's, in seconds, in the replies that told its time.
struct SCameraClock {
    double least = 0;
    double most = 0;

    // Within a run the distance stays the same, up to the second that a reply tells.
    bool leaps() const;
    bool isWrong() const;
    std::string text() const;
};

// A Date header that is none; nothing where all can be read.
std::optional<std::string> UnreadableDate(const std::vector<SWatchedExchange>& exchanges);

// From the Date headers; nothing where there are none that can be read.
std::optional<SCameraClock> ClockOf(const std::vector<SWatchedExchange>& exchanges);

} // namespace corvane::vornhost
