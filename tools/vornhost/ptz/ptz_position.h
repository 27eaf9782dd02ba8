#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace corvane::vornhost {

// Decides when the camera is asked where it looks: about twice a second while it moves, and on until it has
// come to rest; seldom while it does not tell, since a stop has to wait for the answer. Belongs to one
// thread.
class CPtzPositionWatch {
public:
    using Time = std::chrono::steady_clock::time_point;

    // The camera was told something, so that it may look elsewhere.
    void disturb() { looksLeft_ = LooksUntilRest; }
    // When to ask; nothing while an answer is awaited or the camera is at rest.
    std::optional<Time> askTime() const;
    void asked(Time now);
    // `position`: nothing when the camera did not tell.
    void answered(const std::optional<std::string>& position, Time now);

    // The latest; nothing before the first, and when the camera did not tell.
    const std::optional<std::string>& position() const { return position_; }

private:
    static constexpr std::chrono::milliseconds Period{500};
    static constexpr std::chrono::seconds PeriodAfterFailure{5};

    static constexpr int LooksUntilRest = 3; // without a change

    bool isAsked_ = false;
    int looksLeft_ = 1;
    Time nextTime_;
    std::optional<std::string> position_;
};

} // namespace corvane::vornhost
