#include "tools/vornhost/ptz/ptz_position.h"

namespace corvane::vornhost {

std::optional<CPtzPositionWatch::Time> CPtzPositionWatch::askTime() const {
    return isAsked_ || looksLeft_ == 0 ? std::nullopt : std::optional(nextTime_);
}

void CPtzPositionWatch::asked(Time now) {
    isAsked_ = true;
    --looksLeft_;
    nextTime_ = now + Period;
}

void CPtzPositionWatch::answered(const std::optional<std::string>& position, Time now) {
    isAsked_ = false;
    if (!position) {
        nextTime_ = now + PeriodAfterFailure;
        looksLeft_ = 0;
    } else if (position_ && position != position_) {
        disturb();
    }
    position_ = position;
}

} // namespace corvane::vornhost
