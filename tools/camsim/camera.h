#pragma once

#include "camera_data.h"
#include "settings_store.h"

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace camsim {

/// What a camera has been asked since it was started.
struct CameraCounters {
    std::atomic<uint64_t> requests{0};
    std::atomic<uint64_t> challenges{0}; ///< requests answered 401 for want of good credentials
    std::atomic<uint64_t> faults{0};     ///< requests that at least one fault changed
    std::atomic<int64_t> connections{0}; ///< connections open now
    std::atomic<int64_t> rtspClients{0}; ///< RTSP connections open now
};

/// What is kept of a camera when the program ends.
struct CameraState {
    SettingsStore::Overrides settings;
    std::map<std::string, int> position;
};

/// One simulated camera: its identity, its settings and its head's position. Every operation may be called on
/// any thread.
class Camera {
public:
    /// `index` counts the program's cameras from 0; MAC address and serial number follow from it and the
    /// model.
    Camera(size_t index, std::shared_ptr<const CameraModel> model);

    size_t index() const { return index_; }
    const CameraModel& model() const { return *model_; }
    std::string serialNumber() const;
    std::string macAddress() const;
    /// The getinfo reply.
    std::string info() const;

    std::optional<std::string> setting(const std::string& key) const;
    std::map<std::string, std::string> settings() const;
    /// The setdata reply.
    std::string settingsDump() const;
    /// Sets, adds or (without a value) removes a setting.
    void putSetting(const std::string& key, const std::optional<std::string>& value);

    /// Where the axis stands, in camera units; the axis must be one of the model's.
    int position(const std::string& axis) const;
    void move(const std::string& axis, int position);

    /// Every setting and position as it left the factory.
    void resetToFactoryDefaults();

    CameraState state() const;
    /// Replaces everything that differs from the factory's. Does not count as a change.
    void restore(CameraState state);

    /// Every listener is called after each change of settings or position, on the thread that made it and
    /// without the camera's lock. To be added before the camera is served.
    void onChange(std::function<void()> listener) { listeners_.push_back(std::move(listener)); }

    /// True while the camera restarts and refuses connections.
    std::atomic<bool> away{false};
    CameraCounters counters;

private:
    void changed(bool really);

    const size_t index_;
    const std::shared_ptr<const CameraModel> model_;
    std::vector<std::function<void()>> listeners_;

    mutable std::mutex mutex_;
    SettingsStore settings_;              // guarded by mutex_
    std::map<std::string, int> position_; // guarded by mutex_; axes that are not at home
};

} // namespace camsim
