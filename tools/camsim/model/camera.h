#pragma once

#include "model/alarm_inputs.h"
#include "model/camera_data.h"
#include "model/camera_head.h"
#include "model/settings_store.h"

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace camsim {

// What a camera has been asked since it was started.
struct SCameraCounters {
    std::atomic<uint64_t> requests{0};
    std::atomic<uint64_t> challenges{0}; // requests answered 401 for want of good credentials
    std::atomic<uint64_t> faults{0};     // requests that at least one fault changed
    std::atomic<int64_t> connections{0}; // connections open now
    std::atomic<int64_t> monitors{0};    // replies open now that tell the alarm inputs
    std::atomic<int64_t> rtspClients{0}; // RTSP connections open now
    std::atomic<int64_t> streams{0};     // pipelines that make a stream for somebody now
};

// What is kept of a camera when the program ends.
struct SCameraState {
    CSettingsStore::Overrides settings;
    SHeadState head;
};

// One simulated camera: its identity, its settings, its head and its alarm inputs. Every operation may be
// called on any thread.
class CCamera {
public:
    // `index` counts the program's cameras from 0; MAC address and serial number follow from it and the
    // model.
    CCamera(size_t index, std::shared_ptr<const SCameraModel> model);

    size_t index() const { return index_; }
    const SCameraModel& model() const { return *model_; }
    std::string serialNumber() const;
    std::string macAddress() const;
    // The getinfo reply.
    std::string info() const;

    std::optional<std::string> setting(const std::string& key) const;
    std::map<std::string, std::string> settings() const;
    // The setdata reply.
    std::string settingsDump() const;
    // Whether there is room for all of these changes.
    bool hasRoomFor(const CSettingsStore::Overrides& settings) const;
    // Sets, adds or (without a value) removes a setting; has no effect when there is no room for it.
    void putSetting(const std::string& key, const std::optional<std::string>& value);

    // Where the head is at this moment, in camera units; empty on a camera without a head.
    HeadPlace headPlace() const;
    bool headIsMoving() const;
    // Lets the head do something at this moment.
    void commandHead(const std::function<void(CCameraHead& head, CCameraHead::Time now)>& command);

    CAlarmInputs alarmInputs() const;
    // Sets the levels of inputs, by number. Throws std::out_of_range, and changes nothing, when the camera
    // does not have one of them.
    void setAlarmInputs(const CAlarmInputs::Levels& levels);

    // Every setting, the head and what it keeps as it left the factory.
    void resetToFactoryDefaults();

    SCameraState state() const;
    // Replaces everything that differs from the factory's. Does not count as a change.
    void restore(const SCameraState& state);

    // Every listener is called after each change of settings or command to the head, on the thread that made
    // it and without the camera's lock. To be added before the camera is served.
    void onChange(std::function<void()> listener) { listeners_.push_back(std::move(listener)); }

    // The same for changes of alarm inputs; told what changed.
    using InputListener = std::function<void(const CAlarmInputs::Levels& changed)>;
    void onInputChange(InputListener listener) { inputListeners_.push_back(std::move(listener)); }

    // True while the camera restarts and refuses connections.
    std::atomic<bool> away{false};
    SCameraCounters counters;

private:
    void changed(bool really);

    const size_t index_;
    const std::shared_ptr<const SCameraModel> model_;
    std::vector<std::function<void()>> listeners_;
    std::vector<InputListener> inputListeners_;

    mutable std::mutex mutex_;
    CSettingsStore settings_;  // guarded by mutex_
    mutable CCameraHead head_; // guarded by mutex_; goes on to the present when it is looked at
    CAlarmInputs inputs_;      // guarded by mutex_
};

} // namespace camsim
