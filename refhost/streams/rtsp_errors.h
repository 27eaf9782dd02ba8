#pragma once

#include "refhost/base/names.h"

#include <string>
#include <string_view>

namespace corvane::refhost {

inline constexpr std::string_view RtspScheme = "rtsp://"; // how each location begins

// The camera cannot be reached, or has gone.
inline CError NotAccessible(const std::string& text) {
    return {RtnCode::NotAccessible, Origin::Device, text};
}

// What the camera has said is nothing that can be worked with.
inline CError Unusable(const std::string& text) {
    return {RtnCode::OperationFailed, Origin::Device, text};
}

} // namespace corvane::refhost
