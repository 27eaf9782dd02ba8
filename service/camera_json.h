#pragma once

#include "service/camera_status.h"

#include <nlohmann/json_fwd.hpp>

namespace corvane::service {

// What clients are told of a camera.
nlohmann::ordered_json CameraJson(const SCameraStatus& camera);
// {"state","checked"?,"differences","ignored"}.
nlohmann::ordered_json DriftJson(const SDrift& drift);

} // namespace corvane::service
