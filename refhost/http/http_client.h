#pragma once

#include "refhost/base/http_failure.h"
#include "refhost/base/names.h"

#include <string>

namespace corvane::refhost {

struct SHttpRequest {
    std::string address; // HOST or HOST:PORT
    std::string port;    // used where the address carries none; empty means 80
    std::string path;    // from the first "/", with its query
    std::string user;    // empty: no credentials are sent
    std::string password;
    std::string authScheme;      // "ANY", "BASIC" or "DIGEST"
    int timeout = 0;             // seconds for everything
    COptional<std::string> form; // a POST of this form; absent: a GET
};

struct SHttpReply {
    int status = 0; // 0 when there was no HTTP status
    HttpFailure kind = HttpFailure::None;
    std::string failure; // what happened; empty for status 200
    std::string body;    // of a reply with a status
};

// One exchange with a device, reported once to the trace. Never throws for what the device or the network
// does. Callable from any thread, also for the same device at once.
SHttpReply ExchangeHttp(const SHttpRequest& request);

} // namespace corvane::refhost
