#include "site/events/event_text.h"

#include "site/base/terminal_text.h"
#include "site/base/utc_time.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <ctime>
#include <utility>

namespace corvane::site {
namespace {

using Kind = SStreamEvent::Kind;

constexpr std::uint64_t NanosecondsInSecond = 1'000'000'000;
constexpr std::uint64_t NanosecondsInMillisecond = 1'000'000;

const char* EventName(Kind kind) {
    return kind == Kind::Ping ? "ping" : kind == Kind::DryContactState ? "dryContactState" : "eos";
}

} // namespace

ordered_json EventJson(const SStreamEvent& event, SeenAt at, std::optional<int> input) {
    ordered_json json{{"event", EventName(event.kind)}};
    if (event.kind == Kind::DryContactState)
        json["state"] = static_cast<int>(event.state);
    if (input)
        json["input"] = *input;
    json["time"] = event.time;
    json["at"] = UtcTimeText(at);
    return json;
}

ordered_json CameraEventJson(const std::string& name, const char* state,
                             const std::optional<SDiagnosis>& problem, SeenAt at) {
    ordered_json line{{"name", name}, {"event", "camera"}, {"state", state}};
    if (problem)
        line["problem"] = ProblemObject(*problem);
    line["time"] = std::chrono::duration_cast<std::chrono::nanoseconds>(at.time_since_epoch()).count();
    line["at"] = UtcTimeText(at);
    return line;
}

std::string CReadableEvents::linesOf(const SStreamEvent& event) {
    if (event.kind == Kind::EndOfStream)
        return linesOfLoss(event.time);
    std::string lines;
    if (const auto lostAt = std::exchange(lostAt_, std::nullopt))
        lines = line(event.time,
                     "events come again after " + SecondsText(static_cast<double>(event.time - *lostAt) /
                                                              static_cast<double>(NanosecondsInSecond)));
    if (event.kind == Kind::Ping)
        return lines + (all_ ? line(event.time, "ping") : "");
    if (std::exchange(state_, event.state) != event.state || all_)
        lines += line(event.time, event.state == DryContactActive ? "active" : "inactive");
    return lines;
}

// Told once: each stream that is tried while the camera stays away ends likewise.
std::string CReadableEvents::linesOfLoss(std::uint64_t time) {
    const bool known = lostAt_.has_value();
    lostAt_ = lostAt_.value_or(time);
    state_.reset();
    return known && !all_ ? "" : line(time, "the camera is lost");
}

std::string CReadableEvents::line(std::uint64_t time, const std::string& text) const {
    return LocalTimeText(time) + "  input " + std::to_string(input_) + "  " + text + "\n";
}

std::string LocalTimeText(std::uint64_t time) {
    const auto seconds = static_cast<std::time_t>(time / NanosecondsInSecond);
    std::tm local{};
    localtime_r(&seconds, &local);
    char date[32];
    (void)std::strftime(date, sizeof date, "%F %T", &local);
    char text[48];
    (void)std::snprintf(text, sizeof text, "%s.%03d", date,
                        static_cast<int>(time % NanosecondsInSecond / NanosecondsInMillisecond));
    return text;
}

} // namespace corvane::site
