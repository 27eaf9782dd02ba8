#pragma once

#include "service/camera_status.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace corvane::service {

// Learns what happens to the cameras of a site. Called on any thread, of one camera never two calls at the
// same time; must return at once.
class ISiteObserver {
public:
    virtual ~ISiteObserver() = default;

    // A camera is kept from now on, or its health or problem has changed; `line` is the event as `site
    // events` tells it, null where there is none to tell.
    virtual void cameraChanged(const SCameraStatus& camera, const nlohmann::ordered_json& line) = 0;
    // A watched input has another level than was told, or is told for the first time.
    virtual void inputChanged(const SCameraStatus& camera, const SInputLevel& level,
                              const nlohmann::ordered_json& line) = 0;
    virtual void driftChanged(const SCameraStatus& camera) = 0;
    // One more exchange with a camera whose exchanges are followed; see CCameraHistory.
    virtual void exchangeNoted() {}
    // It has left the site file.
    virtual void cameraGone(const std::string& name) = 0;
};

} // namespace corvane::service
