#pragma once

#include "host/url.h"

#include <string>

namespace corvane::panasonic_camera {

// The URL of a request to a camera's CGI: always port 80, which the port in a camera's address overrides.
inline device_handler::v1_0::SVornUrl CameraUrl(const std::string& path) {
    device_handler::v1_0::SVornUrl url;
    url.protocol = "http";
    url.port = "80";
    url.path = path;
    return url;
}

} // namespace corvane::panasonic_camera
