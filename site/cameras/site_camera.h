#pragma once

#include "site/cameras/wish_work.h"
#include "site/session/device_session.h"
#include "site/site_file.h"

#include <optional>

namespace corvane::site {

// One of a site's cameras, for as long as something is done with it. Belongs to one thread.
class CSiteCamera {
public:
    // The recorder's plug-in has the camera's RTSP port. No traffic. Throws CFailure.
    CSiteCamera(const SSiteCamera& camera, const SRecorder& recorder, const SOptions& options,
                CCredentials credentials);

    // Reaches the camera and makes sure that it is the file's. Why it cannot be used.
    std::optional<SDiagnosis> open();
    // What it differs in from its entry, and sets; see CWishWork.
    CWishWork work() { return {session_, camera_}; }
    CDeviceSession& session() { return session_; }
    // Its model, firmware and serial number.
    void describe(SCameraFinding& finding);

private:
    std::optional<SDiagnosis> reach();
    void askValue(const device_handler::v1_0::SDeviceQuery& query, std::string& value) const;

    const SSiteCamera& camera_;
    CDeviceSession session_;
};

} // namespace corvane::site
