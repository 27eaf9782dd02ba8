#include "tools/vornhost/ptz/ptz_pilot.h"

#include <algorithm>
#include <utility>

namespace corvane::vornhost {
namespace {

constexpr int SpeedStep = 10;

constexpr const char* ReleaseKey = "release";
constexpr const char* LeaveKey = "leave";

int Faster(int speed) {
    return std::min((speed / SpeedStep + 1) * SpeedStep, FastestPtzSpeed);
}

int Slower(int speed) {
    return std::max((speed - 1) / SpeedStep * SpeedStep, SlowestPtzSpeed);
}

} // namespace

CPtzPilot::CPtzPilot(int speed, SPtzHoldTimes times) : times_(times), speed_(speed) {}

SPtzCommand CPtzPilot::moveCommand(const std::string& key, const SMovement& movement) {
    return {key,
            {"controller.moveAt",
             {std::to_string(movement.pan), std::to_string(movement.tilt), std::to_string(movement.zoom)}},
            !movement.isNone(),
            movement.isNone()};
}

void CPtzPilot::press(const SPtzKey& key, Time now) {
    if (isLeaving_)
        return;
    advance(now);
    const bool isToBeSaved = std::exchange(isSaving_, false);
    switch (key.kind) {
    case PtzKeyKind::Move:
        return move(key, now);
    case PtzKeyKind::Digit:
        return usePreset(key, isToBeSaved);
    case PtzKeyKind::Save:
        isSaving_ = true;
        return;
    case PtzKeyKind::Faster:
        speed_ = Faster(speed_);
        return;
    case PtzKeyKind::Slower:
        speed_ = Slower(speed_);
        return;
    case PtzKeyKind::Stop:
        return stop(key.name);
    case PtzKeyKind::Leave:
        return leave();
    }
}

void CPtzPilot::move(const SPtzKey& key, Time now) {
    const SMovement movement{key.pan * speed_, key.tilt * speed_, key.zoom * speed_};
    const bool repeats = movement == wanted_;
    holdUntil_ = now + (repeats ? times_.afterRepeat : times_.beforeFirstRepeat);
    if (repeats)
        return;
    wanted_ = movement;
    waitingMovement_ = moveCommand(key.name, movement);
}

void CPtzPilot::usePreset(const SPtzKey& key, bool isToBeSaved) {
    const std::string name = (isToBeSaved ? "p" : "") + key.name;
    // While its key is held the movement would go on after the preset.
    if (!wanted_.isNone())
        stop(name);
    const std::string operation = isToBeSaved ? "controller.setPreset" : "controller.callPreset";
    const SPtzCommand command{name, {operation, {std::to_string(key.digit)}}};
    if (isToBeSaved)
        save(command);
    else
        waitingMovement_ = command;
}

void CPtzPilot::save(const SPtzCommand& command) {
    const bool isWaiting =
        std::any_of(waitingSaves_.begin(), waitingSaves_.end(),
                    [&command](const SPtzCommand& waiting) { return waiting.key == command.key; });
    if (!isWaiting)
        waitingSaves_.push_back(command);
}

void CPtzPilot::stop(const std::string& key) {
    wanted_ = {};
    waitingMovement_.reset();
    waitingStop_ = moveCommand(key, wanted_);
}

void CPtzPilot::leave() {
    isLeaving_ = true;
    isSaving_ = false;
    wanted_ = {};
    waitingMovement_.reset();
}

void CPtzPilot::advance(Time now) {
    if (!wanted_.isNone() && now >= holdUntil_)
        stop(ReleaseKey);
}

std::optional<CPtzPilot::Time> CPtzPilot::releaseTime() const {
    return wanted_.isNone() ? std::nullopt : std::optional(holdUntil_);
}

std::optional<SPtzCommand> CPtzPilot::next() {
    if (onItsWay_)
        return std::nullopt;
    onItsWay_ = takeNext();
    if (onItsWay_ && onItsWay_->isMove)
        mayMove_ = true;
    return onItsWay_;
}

std::optional<SPtzCommand> CPtzPilot::takeNext() {
    if (waitingStop_)
        return std::exchange(waitingStop_, std::nullopt);
    if (hasToStopForLeaving()) {
        hasStoppedForLeaving_ = true;
        return moveCommand(LeaveKey, {});
    }
    if (!waitingSaves_.empty()) {
        SPtzCommand first = std::move(waitingSaves_.front());
        waitingSaves_.pop_front();
        return first;
    }
    return std::exchange(waitingMovement_, std::nullopt);
}

void CPtzPilot::answered(bool succeeded) {
    if (onItsWay_ && onItsWay_->isStop && succeeded)
        mayMove_ = false;
    onItsWay_.reset();
}

bool CPtzPilot::isDone() const {
    return isLeaving_ && !onItsWay_ && !waitingStop_ && waitingSaves_.empty() && !hasToStopForLeaving();
}

} // namespace corvane::vornhost
