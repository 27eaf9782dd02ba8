#pragma once

#include "http/connection_table.h"
#include "model/camera.h"
#include "model/faults.h"
#include "net/listeners.h"
#include "rtsp/rtsp_server.h"

#include <memory>
#include <mutex>
#include <vector>

namespace camsim {

// Lets ports refuse connections while a fault says so, and ends the connections that are open when a fault of
// their port is set: it would never meet them. Every operation may be called on any thread.
class CPortRefusals {
public:
    struct SParts {
        CFaultList& faults;
        CListeners& listeners;
        CRtspServer* rtsp; // null when the cameras have none
        const std::vector<std::unique_ptr<CCamera>>& cameras;
        CConnectionTable& connections;
    };

    explicit CPortRefusals(const SParts& parts) : parts_(parts), cameras_(parts.cameras.size()) {}

    // To be called when faults have been set or removed.
    void apply();
    // Takes connections again after a restart, where no fault says otherwise. Throws CSocketError.
    void resume(CCamera& camera);

private:
    // Which ports of a camera refuse, and how many faults they have.
    struct SCamera {
        bool web = false;
        bool rtsp = false;
        size_t webFaults = 0;
        size_t rtspFaults = 0;
    };

    SCamera wanted(const CCamera& camera, const std::vector<SFault>& faults) const;
    void change(CCamera& camera, SCamera& is, const SCamera& wanted);

    const SParts parts_;
    std::mutex mutex_;
    std::vector<SCamera> cameras_; // guarded by mutex_
    bool any_ = false;             // guarded by mutex_; whether any camera has a fault of a port
};

} // namespace camsim
