#pragma once

#include "host/authentication.h"

#include <curl/curl.h>

#include <memory>
#include <string>

namespace corvane::bench {

// The least that can ask a camera: one libcurl easy handle, which keeps its connection, its credentials given
// beforehand. What the framework and the plug-in are measured against.
class CPlainClient {
public:
    // Without credentials, or with them for digest authentication.
    explicit CPlainClient(const std::string& address);
    CPlainClient(const std::string& address, const device_handler::v1_0::CAuthentication& credentials);

    // The body of a reply; throws CFailure unless its status tells success.
    std::string get(const std::string& path);
    // Likewise, with another method and a JSON body to send.
    std::string send(const std::string& method, const std::string& path, const std::string& body);

private:
    std::string perform(const std::string& path);

    struct SCleanup {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };

    const std::string base_;
    const std::unique_ptr<CURL, SCleanup> handle_;
};

} // namespace corvane::bench
