#pragma once

#include "site/cameras/site_camera.h"
#include "site/session/device_session.h"
#include "site/site_file.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace corvane::site {

// A site file as it was read, and how its cameras are reached. Immutable, so any thread may use it.
class CSiteSessions {
public:
    // Throws CFailure for a file that is refused, and for credentials that cannot be had.
    CSiteSessions(const SOptions& options, const std::string& file, SRecorder recorder);

    const SSite& site() const { return site_; }
    const SRecorder& recorder() const { return recorder_; }
    // Of one of the site's cameras, which must outlive it, as this must. No traffic. Throws CFailure.
    std::unique_ptr<CSiteCamera> open(const SSiteCamera& camera) const;

    // Whether both have a camera of the name that is reached and watched alike, whatever is wanted of it.
    bool reachesAlike(const CSiteSessions& other, const std::string& name) const;

private:
    const SSiteCamera* find(const std::string& name) const;

    const SOptions options_;
    const SRecorder recorder_;
    SSite site_;
    std::map<int, SRecorder> recorders_; // of cameras with an RTSP port of their own
    std::map<std::string, CCredentials> credentials_;
};

} // namespace corvane::site
