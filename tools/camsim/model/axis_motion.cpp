#include "model/axis_motion.h"

#include <algorithm>
#include <cmath>

namespace camsim {
namespace {

using Seconds = std::chrono::duration<double>;

} // namespace

AxisMotion::AxisMotion(const AxisLimits& limits, double position)
    : limits_(limits), resting_(std::clamp(position, limits.minimum, limits.maximum)) {}

void AxisMotion::driveTo(double position, Time now) {
    const State from = stateAt(now);
    begin_ = now;
    phases_.clear();
    plan(from, std::clamp(position, limits_.minimum, limits_.maximum), limits_.speed);
}

void AxisMotion::run(double speed, Time now, std::optional<std::chrono::milliseconds> most) {
    const State from = stateAt(now);
    begin_ = now;
    phases_.clear();
    if (speed == 0) {
        brake(from);
        return;
    }
    plan(from, speed > 0 ? limits_.maximum : limits_.minimum, std::min(std::abs(speed), limits_.speed));
    if (!most || restsAt() <= now + *most)
        return;
    double left = Seconds(*most).count();
    const State last = stateAfter(left);
    std::vector<Phase> kept;
    for (const Phase& phase : phases_) {
        kept.push_back(phase);
        kept.back().seconds = std::min(phase.seconds, left);
        left -= kept.back().seconds;
    }
    phases_ = std::move(kept);
    brake(last);
}

double AxisMotion::position(Time now) const {
    return std::clamp(stateAt(now).position, limits_.minimum, limits_.maximum);
}

AxisMotion::Time AxisMotion::restsAt() const {
    double seconds = 0;
    for (const Phase& phase : phases_)
        seconds += phase.seconds;
    return begin_ + std::chrono::ceil<Time::duration>(Seconds(seconds));
}

AxisMotion::State AxisMotion::stateAt(Time now) const {
    return stateAfter(Seconds(now - begin_).count());
}

AxisMotion::State AxisMotion::stateAfter(double seconds) const {
    for (const Phase& phase : phases_) {
        if (seconds < phase.seconds) {
            const double gained = phase.acceleration * seconds;
            return {phase.begin.position + (phase.begin.speed + gained / 2) * seconds,
                    phase.begin.speed + gained};
        }
        seconds -= phase.seconds;
    }
    return {resting_, 0};
}

/// Speeds up (or slows down) to the cruising speed, cruises and brakes so as to stop at the target. Seen in
/// the direction of the target from the place where it would stop if it braked at once, the way is never
/// negative; a speed against that direction is braked by the same first phase.
void AxisMotion::plan(const State& from, double target, double speed) {
    const double a = limits_.acceleration;
    const double stoppingPlace = from.position + from.speed * std::abs(from.speed) / (2 * a);
    const double direction = target >= stoppingPlace ? 1 : -1;
    const double way = direction * (target - from.position);
    const double initial = direction * from.speed;
    const double highest = std::sqrt(std::max(0.0, a * way + initial * initial / 2));
    const double cruising = std::min(speed, highest);
    const double signOfFirst = initial > cruising ? -1 : 1;
    const double changingWay = signOfFirst * (cruising * cruising - initial * initial) / (2 * a);
    const double cruisingWay = way - changingWay - cruising * cruising / (2 * a);

    State state = from;
    addPhase(std::abs(cruising - initial) / a, direction * signOfFirst * a, state);
    addPhase(cruising > 0 ? std::max(0.0, cruisingWay) / cruising : 0, 0, state);
    addPhase(cruising / a, -direction * a, state);
    resting_ = target;
}

void AxisMotion::brake(const State& from) {
    State state = from;
    addPhase(std::abs(from.speed) / limits_.acceleration,
             from.speed > 0 ? -limits_.acceleration : limits_.acceleration, state);
    resting_ = std::clamp(state.position, limits_.minimum, limits_.maximum);
}

void AxisMotion::addPhase(double seconds, double acceleration, State& state) {
    if (seconds <= 0)
        return;
    phases_.push_back({seconds, state, acceleration});
    const double gained = acceleration * seconds;
    state.position += (state.speed + gained / 2) * seconds;
    state.speed += gained;
}

} // namespace camsim
