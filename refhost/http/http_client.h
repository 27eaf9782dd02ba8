#pragma once

#include "host/api.h"
#include "refhost/base/http_failure.h"
#include "refhost/base/names.h"

#include <chrono>
#include <functional>
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
    // Of a reply that stays open: whether the body so far is all that is wanted; empty: the reply is waited
    // for.
    std::function<bool(const std::string& body)> isEnough;
};

struct SHttpReply {
    int status = 0; // 0 when there was no HTTP status
    HttpFailure kind = HttpFailure::None;
    std::string failure;     // what happened; empty for status 200
    std::string body;        // as far as it has come
    std::string location;    // of a redirect
    bool isTimedOut = false; // its time was over before its end
};

// From here on no exchange takes longer, whatever its own time-out. Callable from any thread.
VORN_HOST_API void LimitTimeOuts(std::chrono::milliseconds longest);

// One exchange with a device, reported once to the trace. Never throws for what the device or the network
// does. Callable from any thread, also for the same device at once.
VORN_HOST_API SHttpReply ExchangeHttp(const SHttpRequest& request);

} // namespace corvane::refhost
