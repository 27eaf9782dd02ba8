#pragma once

#include "host/api.h"
#include "host/error.h"
#include "host/url.h"

#include <memory>
#include <string>
#include <vector>

namespace corvane::vorn_utility::v1_0 {

// What the arguments of the HTTP helpers have in common:
//
// - `address`: a host name or dotted address, with ":PORT" where the device's web port is not the URL's;
// - `user`, `password`: the device's credentials; an empty user name sends none;
// - `timeout`: seconds for the whole exchange, name look-up included; 0 and less fail at once;
// - `authScheme`: "ANY" (whatever the device offers, Digest before Basic), "BASIC" or "DIGEST"; no Basic
//   credentials are sent to a device that Basic is refused to;
// - `delimiters`: the characters, each of which ends a value in the reply.
//
// A reply counts as success when its HTTP status is 200. Otherwise the outputs are left unchanged and the
// result is one of
//
// - (NotAccessible, Device) without a status: not resolved, refused, timed out, cut, no HTTP, too large;
// - (AuthenticationFailed, Device) for 401, also where only Basic is offered, and that is refused;
// - (OperationFailed, Device) for any other status
//
// with a text that says what happened ("HTTP status 404 Not Found", "timed out after 4 s", "connection
// refused"). Replies are bounded (16 MiB); redirects are not followed. Every operation may be called from any
// thread, also for the same device at once; connections and the device's authentication challenge are kept
// between calls.

class VORN_HOST_API CVornCgiLib {
public:
    // GET; the whole reply body in `response`.
    static device_handler::v1_0::CError
    vornCgiGetRawResponse(const device_handler::v1_0::SVornUrl& url, const std::string& address,
                          const std::string& user, const std::string& password, std::string& response,
                          int timeout, const std::string& authScheme);

    // GET; the reply is split at the delimiters, and for each key the text behind it in the first piece that
    // begins with it is returned (empty when no piece does). The keys are those given in `values`, or, when
    // `values` comes in empty, the URL's query keys. On success `values` holds one value a key, in order.
    static device_handler::v1_0::CError
    vornCgiGetQueryResult(const device_handler::v1_0::SVornUrl& url, const std::string& address,
                          const std::string& user, const std::string& password,
                          std::vector<std::string>& values, int timeout, const std::string& delimiters,
                          const std::string& authScheme);
};

// A one-shot HTTP client for POST.
class VORN_HOST_API CHttpInterface {
public:
    CHttpInterface(std::string user, std::string password);
    ~CHttpInterface();
    CHttpInterface(const CHttpInterface&) = delete;
    CHttpInterface& operator=(const CHttpInterface&) = delete;

    // Makes the client ready: 0, or any other value on failure.
    int Initialize();

    // Sends `body` (form-encoded) as a POST to the absolute `url` and returns the HTTP status, or a value of
    // 99 or less when there was none (see the list above). Takes 4 seconds at most. The reply's body is
    // dropped.
    int SetContent(const std::string& body, const std::string& url);

private:
    struct SBase; // the framework's own
    const std::unique_ptr<SBase> base_;
};

} // namespace corvane::vorn_utility::v1_0
