#include "model/axis_motion.h"

#include <algorithm>
#include <cmath>

namespace camsim {
namespace {

using Seconds = std::chrono::duration<double>;

} // namespace

CAxisMotion::CAxisMotion(const SAxisLimits& limits, double position)
    : limits_(limits), resting_(std::clamp(position, limits.minimum, limits.maximum)) {}

void CAxisMotion::driveTo(double position, Time now) {
    const SState from = stateAt(now);
    begin_ = now;
    phases_.clear();
    plan(from, std::clamp(position, limits_.minimum, limits_.maximum), limits_.speed);
}

void CAxisMotion::run(double speed, Time now, std::optional<std::chrono::milliseconds> most) {
    const SState from = stateAt(now);
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
    const SState last = stateAfter(left);
    std::vector<SPhase> kept;
    for (const SPhase& phase : phases_) {
        kept.push_back(phase);
        kept.back().seconds = std::min(phase.seconds, left);
        left -= kept.back().seconds;
    }
    phases_ = std::move(kept);
    brake(last);
}

double CAxisMotion::position(Time now) const {
    return std::clamp(stateAt(now).position, limits_.minimum, limits_.maximum);
}

CAxisMotion::Time CAxisMotion::restsAt() const {
    double seconds = 0;
    for (const SPhase& phase : phases_)
        seconds += phase.seconds;
    return begin_ + std::chrono::ceil<Time::duration>(Seconds(seconds));
}

CAxisMotion::SState CAxisMotion::stateAt(Time now) const {
    return stateAfter(Seconds(now - begin_).count());
}

CAxisMotion::SState CAxisMotion::stateAfter(double seconds) const {
    for (const SPhase& phase : phases_) {
        if (seconds < phase.seconds) {
            const double gained = phase.acceleration * seconds;
            return {phase.begin.position + (phase.begin.speed + gained / 2) * seconds,
                    phase.begin.speed + gained};
        }
        seconds -= phase.seconds;
    }
    return {resting_, 0};
}

// Three phases: to the cruising speed, at it, and braking to a stop at the target. `direction` leads from the
// place where the axis would stop if it braked at once to the target. That makes the square root real, and
// lets the first phase also brake an axis that moves the other way.
void CAxisMotion::plan(const SState& from, double target, double speed) {
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

    SState state = from;
    addPhase(std::abs(cruising - initial) / a, direction * signOfFirst * a, state);
    addPhase(cruising > 0 ? std::max(0.0, cruisingWay) / cruising : 0, 0, state);
    addPhase(cruising / a, -direction * a, state);
    resting_ = target;
}

void CAxisMotion::brake(const SState& from) {
    SState state = from;
    addPhase(std::abs(from.speed) / limits_.acceleration,
             from.speed > 0 ? -limits_.acceleration : limits_.acceleration, state);
    resting_ = std::clamp(state.position, limits_.minimum, limits_.maximum);
}

void CAxisMotion::addPhase(double seconds, double acceleration, SState& state) {
    if (seconds <= 0)
        return;
    phases_.push_back({seconds, state, acceleration});
    const double gained = acceleration * seconds;
    state.position += (state.speed + gained / 2) * seconds;
    state.speed += gained;
}

} // namespace camsim
