#include "tools/vornhost/ptz_position.h"

namespace corvane::vornhost {

std::optional<CPtzPositionWatch::Time> CPtzPositionWatch::askTime() const {
    return isAsked_ || isAtRest_ ? std::nullopt : std::optional(nextTime_);
}

void CPtzPositionWatch::asked(Time now) {
    isAsked_ = true;
    isAtRest_ = true; // until the answer, or a command, tells otherwise
    nextTime_ = now + Period;
}

void CPtzPositionWatch::answered(const std::optional<std::string>& position, Time now) {
    isAsked_ = false;
    if (!position)
        nextTime_ = now + PeriodAfterFailure;
    else if (position != position_)
        isAtRest_ = false;
    position_ = position;
}

} // namespace corvane::vornhost
