#pragma once

#include "model/faults.h"
#include "net/parked_connections.h"

#include <microhttpd.h>
#include <string>
#include <utility>
#include <vector>

namespace camsim {

// An HTTP answer as it goes out.
struct SHttpReply {
    unsigned status = 200;
    std::string body;
    std::vector<std::pair<const char*, std::string>> headers;
};

// Queues the whole answer.
MHD_Result SendReply(MHD_Connection* connection, const SHttpReply& reply);

// Whether the camera still does what it is asked when this fault hits the request.
bool LetsTheRequestThrough(FaultKind kind);

// Where a faulty answer goes out.
struct SFaultScene {
    MHD_Connection* connection;
    int fd;
    CParkedConnections& parked;
    const std::string& target; // of the request
};

// What the fault makes of `reply`, the answer that was due (or, where the fault does not let the request
// through, a 200 without a body). `status` is the HTTP status that goes out, none when what goes out is no
// HTTP answer. Kinds that the server deals with itself, before an answer is made, change nothing here.
MHD_Result SendFault(const SFault& fault, const SHttpReply& reply, SFaultScene scene,
                     std::optional<unsigned>& status);

} // namespace camsim
