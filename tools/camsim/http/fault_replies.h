#pragma once

#include "model/faults.h"
#include "net/parked_connections.h"

#include <microhttpd.h>
#include <string>
#include <utility>
#include <vector>

namespace camsim {

/// An HTTP answer as it goes out.
struct HttpReply {
    unsigned status = 200;
    std::string body;
    std::vector<std::pair<const char*, std::string>> headers;
};

/// Queues the whole answer.
MHD_Result sendReply(MHD_Connection* connection, const HttpReply& reply);

/// Whether the camera still does what it is asked when this fault hits the request.
bool letsTheRequestThrough(FaultKind kind);

/// Where a faulty answer goes out.
struct FaultScene {
    MHD_Connection* connection;
    int fd;
    ParkedConnections& parked;
};

/// What the fault makes of `reply`, the answer that was due (or, where the fault does not let the request
/// through, a 200 without a body). `status` is the HTTP status that goes out, none when what goes out is no
/// HTTP answer. Delay and Stale change nothing here: they are dealt with before an answer is made.
MHD_Result sendFault(const Fault& fault, const HttpReply& reply, FaultScene scene,
                     std::optional<unsigned>& status);

} // namespace camsim
