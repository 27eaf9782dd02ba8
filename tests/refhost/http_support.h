#pragma once

#include "host/cgi.h"
#include "host/url.h"

#include <gmock/gmock.h>

#include <ostream>
#include <string>

namespace corvane::tests {

inline device_handler::v1_0::SVornUrl UrlOf(const std::string& path) {
    device_handler::v1_0::SVornUrl url;
    url.protocol = "http";
    url.port = "80";
    url.path = path;
    return url;
}

// A GET as the user "admin", with a time-out that only a test of time-outs reaches.
inline device_handler::v1_0::CError Get(const std::string& address, std::string& response,
                                        const std::string& path = "/", const std::string& password = "secret",
                                        int timeout = 60) {
    return vorn_utility::v1_0::CVornCgiLib::vornCgiGetRawResponse(UrlOf(path), address, "admin", password,
                                                                  response, timeout, "ANY");
}

// `text` is a part of its text.
MATCHER_P3(IsError, code, origin, text, "") {
    *result_listener << "which is (" << arg.getCode() << ", " << arg.getOrigin() << ", \"" << arg.getText()
                     << "\")";
    if (std::string(text).empty()) // which any text would match
        return false;
    return arg.getCode() == static_cast<int>(code) && arg.getOrigin() == static_cast<int>(origin) &&
           testing::ExplainMatchResult(testing::HasSubstr(text), arg.getText(), result_listener);
}

MATCHER(IsSuccess, "") {
    *result_listener << "which is (" << arg.getCode() << ", " << arg.getOrigin() << ", \"" << arg.getText()
                     << "\")";
    return !arg;
}

} // namespace corvane::tests
