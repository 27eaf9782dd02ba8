#pragma once

#include "control/control_interface.h"
#include "model/form.h"

#include <nlohmann/json.hpp>
#include <string>

namespace camsim {

struct ControlRequest {
    std::string method;
    std::string path;
    Parameters query;
    Parameters headers;
    std::string body;
};

struct ControlReply {
    unsigned status;
    nlohmann::json json;
};

/// Does what the request asks; never throws. A request that cannot be carried out changes nothing and is
/// answered
/// {"error": "..."} with 400, 403, 404, 405 or 415.
ControlReply answerControl(const ControlInterface::Parts& parts, const ControlRequest& request);

} // namespace camsim
