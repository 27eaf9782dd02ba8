#pragma once

#include "host/events.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>

namespace corvane::vornhost {

// An event as scripts read it; `input` where the reader may not know it.
nlohmann::ordered_json EventJson(const device_handler::v1_0::SStreamEvent& event, std::optional<int> input);

// Events for a person's eyes: when, which input, and what. Belongs to one thread at a time.
class CReadableEvents {
public:
    // `all`: pings and repeated states too.
    CReadableEvents(int input, bool all) : input_(input), all_(all) {}

    // The event's lines with their line ends; none for one that tells nothing new. The state is new at the
    // beginning and behind a gap, which is told with its length.
    std::string linesOf(const device_handler::v1_0::SStreamEvent& event);

private:
    std::string line(std::uint64_t time, const std::string& text) const;
    std::string linesOfLoss(std::uint64_t time);

    const int input_;
    const bool all_;
    std::optional<std::uint64_t> lostAt_; // the beginning of the gap, while there is one
    std::optional<device_handler::v1_0::DryContactState> state_; // what was told last
};

// A time of the real-time clock, in ns, as local time with milliseconds.
std::string LocalTimeText(std::uint64_t time);

// A length of time for a person: "12.3 s".
std::string SecondsText(double seconds);

} // namespace corvane::vornhost
