#pragma once

#include "tests/support/program.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace corvane::test_support {

// The camera simulator running beside the test, and its control interface. The control calls throw
// std::runtime_error when the simulator refuses them. Belongs to one thread.
class CCamsim {
public:
    // Waits until it serves.
    explicit CCamsim(const std::vector<std::string>& arguments = {});
    // Ends it; a simulator that does not end well fails the test.
    ~CCamsim();

    // The cameras' addresses, and the first's.
    const std::vector<std::string>& addresses() const { return addresses_; }
    const std::string& address() const { return addresses_.front(); }
    // Where the first listens for RTSP.
    const std::string& rtspPort() const { return rtspPort_; }

    const std::string& rtspAddress() const { return rtspAddress_; }
    const std::string& controlAddress() const { return control_; }

    // Waits until standard error holds the text.
    void waitForMessage(const std::string& text) { program_.waitForMessage(text); }

    nlohmann::json get(const std::string& path) const { return request("GET", path); }
    nlohmann::json post(const std::string& path, const nlohmann::json& body) const {
        return request("POST", path, body);
    }
    nlohmann::json patch(const std::string& path, const nlohmann::json& body) const {
        return request("PATCH", path, body);
    }
    nlohmann::json erase(const std::string& path) const { return request("DELETE", path); }

    // The paths, with their queries, of the requests since the log was cleared.
    std::vector<std::string> requestedPaths() const;

private:
    nlohmann::json request(const std::string& method, const std::string& path,
                           const nlohmann::json& body = nullptr) const;

    CProgram program_;
    std::vector<std::string> addresses_;
    std::string rtspAddress_;
    std::string rtspPort_;
    std::string control_;
};

} // namespace corvane::test_support
