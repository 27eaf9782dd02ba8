#pragma once

#include "host/api.h"
#include "refhost/base/http_failure.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace corvane::refhost {

// What became of the attempt to connect.
struct SProbedConnection {
    HttpFailure kind =
        HttpFailure::None; // None, NameNotFound, Refused, Unreachable, OwnLimit, or NotAsked for no address
    std::string failure;   // what happened; empty when there is somebody
    double milliseconds = 0;
};

// Connects to each of the addresses (HOST or HOST:PORT), side by side, and asks nothing. `told` learns each
// result once, with its place among the addresses, on the calling thread. Whoever has not taken the
// connection within the limit counts as unreachable.
VORN_HOST_API void ProbeConnections(const std::vector<std::string>& addresses,
                                    std::chrono::milliseconds limit,
                                    const std::function<void(std::size_t, const SProbedConnection&)>& told);

VORN_HOST_API SProbedConnection ProbeConnection(const std::string& address, std::chrono::milliseconds limit);

} // namespace corvane::refhost
