#pragma once

#include "refhost/base/names.h"

#include <string>

namespace corvane::refhost {

// Where a stream is asked for, and as whom.
struct SRtspSource {
    std::string url;             // "rtsp://HOST[:PORT]/PATH" without credentials
    std::string device;          // the camera's address, by which others know how it asks for credentials
    CAuthentication credentials; // none are shown when they are not set
};

} // namespace corvane::refhost
