#pragma once

#include "site/calls/call.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/ptz/ptz_keys.h"

#include <chrono>
#include <deque>
#include <optional>
#include <string>

namespace corvane::vornhost {

// How long a movement goes on after a press of its key. Keyboards begin to repeat a held key late and then go
// on quickly.
struct SPtzHoldTimes {
    std::chrono::milliseconds beforeFirstRepeat{700};
    std::chrono::milliseconds afterRepeat{300};
};

constexpr int SlowestPtzSpeed = 1;
constexpr int FastestPtzSpeed = 100;

struct SPtzCommand {
    std::string key; // what caused it
    SCall call;      // of the PTZ controller
    bool isMove = false;
    bool isStop = false;
};

// Decides from keys and time what the camera is told. One command is on its way at a time; of the movements
// and preset calls that are wanted meanwhile only the newest is kept, but a stop and a preset to be saved are
// never dropped. Belongs to one thread and never waits.
class CPtzPilot {
public:
    using Time = std::chrono::steady_clock::time_point;

    // `speed`: SlowestPtzSpeed to FastestPtzSpeed.
    explicit CPtzPilot(int speed, SPtzHoldTimes times = {});

    void press(const SPtzKey& key, Time now);
    // Nothing more is pressed: what moves is stopped, and presets that wait are saved.
    void leave();
    // Stops the movement whose key has been let go.
    void advance(Time now);
    // When advance() has to be called next, if ever.
    std::optional<Time> releaseTime() const;

    // The command to send now, if any. It is on its way until answered() is told what became of it.
    std::optional<SPtzCommand> next();
    void answered(bool succeeded);

    int speed() const { return speed_; }
    // Whether the next digit saves a preset.
    bool isSaving() const { return isSaving_; }
    bool isBusy() const { return onItsWay_.has_value(); }
    // Whether a movement was sent and no stop has succeeded since.
    bool mayMove() const { return mayMove_; }
    // Whether all that leave() wants has been done.
    bool isDone() const;

private:
    struct SMovement {
        int pan = 0;
        int tilt = 0;
        int zoom = 0;

        bool isNone() const { return pan == 0 && tilt == 0 && zoom == 0; }
        bool operator==(const SMovement& other) const {
            return pan == other.pan && tilt == other.tilt && zoom == other.zoom;
        }
    };

    static SPtzCommand moveCommand(const std::string& key, const SMovement& movement);
    void move(const SPtzKey& key, Time now);
    void usePreset(const SPtzKey& key, bool isToBeSaved);
    void save(const SPtzCommand& command);
    void stop(const std::string& key);
    bool hasToStopForLeaving() const { return isLeaving_ && mayMove_ && !hasStoppedForLeaving_; }
    std::optional<SPtzCommand> takeNext();

    const SPtzHoldTimes times_;
    int speed_;
    bool isSaving_ = false;
    bool isLeaving_ = false;
    bool hasStoppedForLeaving_ = false;
    bool mayMove_ = false;
    SMovement wanted_; // of the key that is held
    Time holdUntil_;   // of wanted_
    std::optional<SPtzCommand> onItsWay_;
    // What waits, in the order in which it goes out.
    std::optional<SPtzCommand> waitingStop_;
    std::deque<SPtzCommand> waitingSaves_; // at most one a preset
    std::optional<SPtzCommand> waitingMovement_;
};

} // namespace corvane::vornhost
