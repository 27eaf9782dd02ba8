#pragma once

#include "control/control_routes.h"

#include <optional>

namespace camsim {

// The control interface asks for no credentials, so it must not be used by whoever happens to reach it: a
// browser on this machine sends what any web page tells it to. None when the request is the user's own, else
// the refusal: 403 for a foreign Host or Origin, 415 for a change that any page could send as a form.
std::optional<SControlReply> RefuseStranger(const SControlRequest& request);

} // namespace camsim
