#pragma once

#include "site/base/names.h"
#include "site/diagnosis/diagnosis.h"

#include <chrono>
#include <optional>
#include <string>

namespace corvane::site {

using SeenAt = std::chrono::system_clock::time_point;

// An event as scripts read it, seen at `at`; `input` where the reader may not know it.
ordered_json EventJson(const SStreamEvent& event, SeenAt at, std::optional<int> input);

// That a camera is lost or back: {"name","event":"camera","state","problem"?,"time","at"}.
ordered_json CameraEventJson(const std::string& name, const char* state,
                             const std::optional<SDiagnosis>& problem, SeenAt at);

// Events for a person's eyes: when, which input, and what. Belongs to one thread at a time.
class CReadableEvents {
public:
    // `all`: pings and repeated states too.
    CReadableEvents(int input, bool all) : input_(input), all_(all) {}

    // The event's lines with their line ends; none for one that tells nothing new. The state is new at the
    // beginning and behind a gap, which is told with its length.
    std::string linesOf(const SStreamEvent& event);

private:
    std::string line(std::uint64_t time, const std::string& text) const;
    std::string linesOfLoss(std::uint64_t time);

    const int input_;
    const bool all_;
    std::optional<std::uint64_t> lostAt_;  // the beginning of the gap, while there is one
    std::optional<DryContactState> state_; // what was told last
};

// A time of the real-time clock, in ns, as local time with milliseconds.
std::string LocalTimeText(std::uint64_t time);

} // namespace corvane::site
