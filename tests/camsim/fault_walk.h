#pragma once

#include "tests/support/camsim_process.h"

#include <curl/curl.h>
#include <string>

namespace camsim_test {

// What came of an HTTP request, as far as it went.
struct SSeen {
    CURLcode code = CURLE_OK;
    long status = 0;
    long error = 0;     // of the system, where the connection failed
    std::string header; // of all replies, challenges among them
    std::string body;   // of the last

    bool began() const { return !header.empty() || !body.empty(); }
    bool holds(const std::string& text) const { return body.find(text) != std::string::npos; }
    // The value of the last header line of this name.
    std::string headerLine(const std::string& name) const;
};

struct SAsked {
    std::string path;
    std::string post;              // the body of a POST; a GET without one
    long milliseconds = 30'000;    // it is given up after so long
    size_t mostBytes = 32'000'000; // or after so many bytes of a body
    unsigned long schemes = CURLAUTH_DIGEST;
    std::string password = "12345";
};

SSeen Ask(const std::string& address, const SAsked& asked);

} // namespace camsim_test
