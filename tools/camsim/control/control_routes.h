#pragma once

#include "control/control_interface.h"
#include "model/form.h"

#include <nlohmann/json.hpp>
#include <string>

namespace camsim {

struct SControlRequest {
    std::string method;
    std::string path;
    Parameters query;
    Parameters headers;
    std::string body;
};

struct SControlReply {
    unsigned status;
    nlohmann::json json;
};

// Does what the request asks; never throws. A request that cannot be carried out changes nothing and is
// answered {"error": "..."} with 400, 403, 404, 405 or 415.
SControlReply AnswerControl(const CControlInterface::SParts& parts, const SControlRequest& request);

} // namespace camsim
