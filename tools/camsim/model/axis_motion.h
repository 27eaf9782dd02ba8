#pragma once

#include <chrono>
#include <optional>
#include <vector>

namespace camsim {

// How far and how quickly an axis moves, in the camera's units and seconds. `speed` and `acceleration` are
// above 0.
struct SAxisLimits {
    double minimum;
    double maximum;
    double speed;
    double acceleration;
};

// One axis whose place follows from the time: a command makes a plan of phases with constant acceleration,
// and the place is worked out when it is asked for. The time is given, and never runs backwards. Not
// thread-safe.
class CAxisMotion {
public:
    using Time = std::chrono::steady_clock::time_point;

    // Stands still at `position`.
    CAxisMotion(const SAxisLimits& limits, double position);

    // Drives to a place and stops there; beyond an end is the end.
    void driveTo(double position, Time now);

    // Moves at a speed (its sign is the direction, the axis's own is the highest, 0 stops) until told
    // otherwise, to the end, or until it has moved for `most`. Speeding up and braking take their time.
    void run(double speed, Time now, std::optional<std::chrono::milliseconds> most = std::nullopt);

    double position(Time now) const;
    bool isMoving(Time now) const { return now < restsAt(); }

    // Where it comes to rest if nothing else is asked of it, and when it has.
    double restingPlace() const { return resting_; }
    Time restsAt() const;

private:
    struct SState {
        double position;
        double speed;
    };
    struct SPhase {
        double seconds;
        SState begin;
        double acceleration;
    };

    SState stateAfter(double seconds) const;
    SState stateAt(Time now) const;
    void plan(const SState& from, double target, double speed);
    void brake(const SState& from);
    void addPhase(double seconds, double acceleration, SState& state);

    SAxisLimits limits_;
    Time begin_{};
    std::vector<SPhase> phases_;
    double resting_;
};

} // namespace camsim
