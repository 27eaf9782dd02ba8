#pragma once

#include "model/axis_motion.h"
#include "model/camera_data.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace camsim {

// A place of each axis, by name.
using HeadPlace = std::map<std::string, double>;

// One axis told to do something, and when in its patrol.
struct SHeadMove {
    enum class Kind { Drive, Run };

    std::chrono::milliseconds at{0};
    std::string axis;
    Kind kind = Kind::Drive;
    double value = 0; // the place to drive to, or the share of the highest speed, from -1 to 1
};

// Recorded moves, played over and over from the place where the recording began.
struct SPatrol {
    HeadPlace start;
    std::chrono::milliseconds length{0};
    std::vector<SHeadMove> moves;
};

// What is kept of a head when the program ends. Where it is not at home it is kept where it comes to rest.
struct SHeadState {
    HeadPlace position;
    std::map<int, HeadPlace> presets;
    std::map<int, SPatrol> patrols;

    bool empty() const { return position.empty() && presets.empty() && patrols.empty(); }
};

// The moving part of a camera: its axes, the presets it keeps and the patrols it records and plays. Where it
// is follows from the time that each operation is given, which never runs backwards; nothing runs in
// between. An axis that the model does not have, or a preset or patrol that does not exist, has no effect.
// Not thread-safe.
class CCameraHead {
public:
    using Time = CAxisMotion::Time;

    static constexpr int MostPresets = 256; // numbers count from 1
    static constexpr int MostPatrols = 4;
    // Of one patrol; later ones are not recorded. Whoever steers sends some each second, for some minutes.
    static constexpr size_t MostMoves = 2000;

    // `model` must outlive the head.
    explicit CCameraHead(const SCameraModel& model);

    HeadPlace place(Time now);
    bool isMoving(Time now);

    // Each of these ends the patrol that is played, and is recorded in the one that is recorded.
    void drive(const std::string& axis, double position, Time now);
    // Drives `share` of the axis's range further on from where it is.
    void step(const std::string& axis, double share, Time now);
    // Moves at a share of the highest speed, from -1 to 1. A head with coarse speeds stops pan, tilt and
    // zoom by itself when it is not told again for three seconds.
    void run(const std::string& axis, double share, Time now);
    // Drives the focus to where it is sharp.
    void focusByItself(Time now);
    void callPreset(int preset, Time now);

    void keepPreset(int preset, Time now);
    void forgetPreset(int preset) { presets_.erase(preset); }

    void recordPatrol(int patrol, Time now);
    void playPatrol(int patrol, Time now);
    // Ends its recording, which replaces what was kept under the number, or its play, where the head stops.
    void stopPatrol(int patrol, Time now);

    // Everything as it left the factory.
    void reset();
    SHeadState state(Time now);
    void restore(const SHeadState& state);

private:
    struct SRecording {
        int number;
        Time begin;
        SPatrol patrol;
    };
    struct SPlay {
        int number;
        Time cycle;     // when the present round began
        bool returning; // it drives to the start, where it is at `cycle`
        size_t next;
        std::optional<CAxisMotion::Time::duration> period; // of a round, once one has been played
    };

    void advance(Time now);
    bool playNext(Time now);
    void returnToStart(Time now);
    void command(SHeadMove move, Time now);
    void apply(const SHeadMove& move, Time now);

    const SCameraModel& model_;
    const bool stopsByItself_;
    std::map<std::string, CAxisMotion> axes_;
    std::map<int, HeadPlace> presets_;
    std::map<int, SPatrol> patrols_;
    std::optional<SRecording> recording_;
    std::optional<SPlay> play_;
};

} // namespace camsim
