#include "model/camera_head.h"

#include <algorithm>

namespace camsim {
namespace {

constexpr std::chrono::milliseconds LongestUnrefreshedMove{3000};
// The shortest time that a round of a patrol takes, even of one without moves. All rounds since the head was
// last asked are caught up with at once, so there must not be too many.
constexpr std::chrono::milliseconds ShortestRound{1000};

CAxisMotion Standing(const SAxis& axis, double position) {
    return {
        {static_cast<double>(axis.minimum), static_cast<double>(axis.maximum), axis.speed, axis.acceleration},
        position};
}

std::map<std::string, CAxisMotion> AxesAtHome(const SCameraModel& model) {
    std::map<std::string, CAxisMotion> axes;
    for (const auto& [name, axis] : model.axes)
        axes.emplace(name, Standing(axis, axis.home));
    return axes;
}

bool IsNumber(int number, int highest) {
    return 1 <= number && number <= highest;
}

} // namespace

CCameraHead::CCameraHead(const SCameraModel& model)
    : model_(model), stopsByItself_(!model.hasFineSpeeds()), axes_(AxesAtHome(model)) {}

HeadPlace CCameraHead::place(Time now) {
    advance(now);
    HeadPlace place;
    for (const auto& [name, motion] : axes_)
        place[name] = motion.position(now);
    return place;
}

bool CCameraHead::isMoving(Time now) {
    advance(now);
    return std::any_of(axes_.begin(), axes_.end(),
                       [&](const auto& axis) { return axis.second.isMoving(now); });
}

void CCameraHead::drive(const std::string& axis, double position, Time now) {
    command({{}, axis, SHeadMove::Kind::Drive, position}, now);
}

void CCameraHead::step(const std::string& axis, double share, Time now) {
    advance(now);
    const auto motion = axes_.find(axis);
    if (motion == axes_.end())
        return;
    const SAxis& known = *model_.axis(axis);
    drive(axis, motion->second.position(now) + share * (known.maximum - known.minimum), now);
}

void CCameraHead::run(const std::string& axis, double share, Time now) {
    command({{}, axis, SHeadMove::Kind::Run, std::clamp(share, -1.0, 1.0)}, now);
}

void CCameraHead::focusByItself(Time now) {
    if (const SAxis* focus = model_.axis("focus"))
        drive("focus", focus->home, now);
}

void CCameraHead::callPreset(int preset, Time now) {
    const auto kept = presets_.find(preset);
    if (kept == presets_.end())
        return;
    for (const auto& [axis, position] : kept->second)
        drive(axis, position, now);
}

void CCameraHead::keepPreset(int preset, Time now) {
    if (IsNumber(preset, MostPresets))
        presets_[preset] = place(now);
}

void CCameraHead::recordPatrol(int patrol, Time now) {
    if (!IsNumber(patrol, MostPatrols))
        return;
    SPatrol begun;
    begun.start = place(now);
    play_.reset();
    recording_ = SRecording{patrol, now, std::move(begun)};
}

void CCameraHead::playPatrol(int patrol, Time now) {
    if (patrols_.count(patrol) == 0)
        return;
    advance(now);
    recording_.reset();
    play_ = SPlay{patrol, now, false, 0, std::nullopt};
    returnToStart(now);
}

void CCameraHead::stopPatrol(int patrol, Time now) {
    advance(now);
    if (recording_ && recording_->number == patrol) {
        const auto length = std::chrono::duration_cast<std::chrono::milliseconds>(now - recording_->begin);
        recording_->patrol.length = length;
        patrols_[patrol] = std::move(recording_->patrol);
        recording_.reset();
    } else if (play_ && play_->number == patrol) {
        play_.reset();
        for (auto& [name, motion] : axes_)
            motion.run(0, now);
    }
}

void CCameraHead::reset() {
    axes_ = AxesAtHome(model_);
    presets_.clear();
    patrols_.clear();
    recording_.reset();
    play_.reset();
}

SHeadState CCameraHead::state(Time now) {
    advance(now);
    SHeadState state{{}, presets_, patrols_};
    for (const auto& [name, motion] : axes_)
        if (motion.restingPlace() != model_.axis(name)->home)
            state.position[name] = motion.restingPlace();
    return state;
}

void CCameraHead::restore(const SHeadState& state) {
    reset();
    for (const auto& [name, position] : state.position) {
        const auto motion = axes_.find(name);
        if (motion != axes_.end())
            motion->second = Standing(*model_.axis(name), position);
    }
    presets_ = state.presets;
    patrols_ = state.patrols;
}

void CCameraHead::advance(Time now) {
    while (play_ && playNext(now)) {
        // each step happens at the time at which it was due
    }
}

// Does what is due next in the patrol; false when nothing is due yet.
bool CCameraHead::playNext(Time now) {
    const SPatrol& patrol = patrols_.at(play_->number);
    SPlay& play = *play_;
    if (play.returning) {
        if (now < play.cycle)
            return false;
        // Every round begins at rest at the same place, so whole rounds may be left out.
        if (play.period)
            play.cycle += (now - play.cycle) / *play.period * *play.period;
        play.returning = false;
        play.next = 0;
        return true;
    }
    if (play.next < patrol.moves.size()) {
        const SHeadMove& move = patrol.moves[play.next];
        const Time due = play.cycle + move.at;
        if (now < due)
            return false;
        apply(move, due);
        ++play.next;
        return true;
    }
    const Time due = play.cycle + std::max(patrol.length, ShortestRound);
    if (now < due)
        return false;
    const Time begun = play.cycle;
    returnToStart(due);
    play.period = play.cycle - begun;
    return true;
}

void CCameraHead::returnToStart(Time now) {
    play_->returning = true;
    play_->cycle = now;
    for (const auto& [axis, position] : patrols_.at(play_->number).start) {
        const auto motion = axes_.find(axis);
        if (motion == axes_.end())
            continue;
        motion->second.driveTo(position, now);
        play_->cycle = std::max(play_->cycle, motion->second.restsAt());
    }
}

void CCameraHead::command(SHeadMove move, Time now) {
    if (axes_.count(move.axis) == 0)
        return;
    advance(now);
    play_.reset();
    apply(move, now);
    if (!recording_ || recording_->patrol.moves.size() >= MostMoves)
        return;
    move.at = std::chrono::duration_cast<std::chrono::milliseconds>(now - recording_->begin);
    recording_->patrol.moves.push_back(std::move(move));
}

void CCameraHead::apply(const SHeadMove& move, Time now) {
    const auto motion = axes_.find(move.axis);
    if (motion == axes_.end())
        return;
    if (move.kind == SHeadMove::Kind::Drive) {
        motion->second.driveTo(move.value, now);
        return;
    }
    const bool refreshed = move.axis == "pan" || move.axis == "tilt" || move.axis == "zoom";
    motion->second.run(move.value * model_.axis(move.axis)->speed, now,
                       stopsByItself_ && refreshed ? std::optional(LongestUnrefreshedMove) : std::nullopt);
}

} // namespace camsim
