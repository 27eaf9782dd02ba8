#pragma once

#include <string>
#include <utility>
#include <vector>

namespace corvane::device_handler::v1_0 {

// One request to a device's CGI, without the device's address.
struct SVornUrl {
    std::string protocol; // "http", the only one spoken
    std::string port;     // decimal; an address that carries a port of its own overrides it
    std::string path;     // from the first "/", percent-encoded; may already carry a query

    // Appended to the query as "name=value", in order; the texts are percent-encoded by the framework.
    std::vector<std::pair<std::string, std::string>> parameters;

    // Appended to the query as they stand, in order; also the keys that `vornCgiGetQueryResult` looks for
    // ("PAN=").
    std::vector<std::string> queryKeys;

    // The text behind which `getCamSingleValue` finds its value in the reply ("NAME="); not sent.
    std::string replyKey;
};

} // namespace corvane::device_handler::v1_0
