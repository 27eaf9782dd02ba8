#pragma once

#include "service/kept_camera.h"

#include <nlohmann/json_fwd.hpp>

namespace corvane::service {

// What only the camera itself can tell, for who looks at one closely: {"streams","adjustments","position",
// "ptz"}; with nothing in them where it does not answer. Asks the camera.
nlohmann::ordered_json CameraDetail(const CKeptCamera& camera, const CKeptCamera::Session& session);

// What the site file wants of it: {"streams","adjustments"}.
nlohmann::ordered_json WishJson(const site::SSiteCamera& entry);

} // namespace corvane::service
