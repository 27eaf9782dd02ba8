#pragma once

#include "service/access.h"
#include "service/http_server.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace corvane::service {

// One request to the interface, allowed and routed.
struct SApiCall {
    const SHttpRequest& request;
    SClient client;
    std::string name;   // of the camera; empty where the route has none
    std::string stream; // likewise

    // The body as a JSON object; an empty one is {}. Throws CRefusal.
    nlohmann::ordered_json body() const;
};

} // namespace corvane::service
