#pragma once

#include "net/event_loop.h"
#include "net/listeners.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace camsim {

// Which ports RTSP is served on.
struct SRtspPortPlan {
    // The first camera's port, the next ones' as AddressPlan says; 0: the system chooses each. Without it
    // each camera's setting RTSPPORT decides, and the system where that port cannot be had.
    std::optional<uint16_t> first;
    AddressPlan addresses;
};

// The cameras' RTSP ports. Ports that settings decide follow their changes.
class CRtspPorts {
public:
    using Accepted = CListeners::Accepted;

    // Listens for each camera, on the host where `http` has it. Throws CSocketError when a port that the plan
    // fixes cannot be had.
    CRtspPorts(const std::vector<std::unique_ptr<CCamera>>& cameras, const CListeners& http,
               const SRtspPortPlan& plan);

    // From here on connections are accepted, on the loop's thread. `loop` must be stopped before this object
    // ends.
    void start(CEventLoop& loop, Accepted accepted);

    std::string address(size_t camera) const { return listeners_.address(camera); }
    void refuse(const CCamera& camera) { listeners_.refuse(camera); }
    // Throws CSocketError.
    void resume(const CCamera& camera);

    // Moves the camera's port when the setting that decides it has changed; one that refuses though the
    // camera is there is moved when it no longer does. Any thread.
    void settingsChanged(const CCamera& camera);

private:
    void move(const CCamera& camera);

    const bool followSettings_;
    const std::vector<std::unique_ptr<CCamera>>& cameras_;
    CListeners listeners_;
    CEventLoop* loop_ = nullptr;
    std::vector<uint16_t> madeFor_; // what the setting was when each socket was made; the loop's thread alone

    std::mutex mutex_;
    std::vector<uint16_t> wanted_; // guarded by mutex_; the port that each camera's setting names
};

} // namespace camsim
