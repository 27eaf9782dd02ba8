#pragma once

#include <cstdint>
#include <string>

namespace corvane::service {

// Where a broker is, and who asks it.
struct SMqttBroker {
    std::string host; // an IPv6 address without brackets
    std::uint16_t port = 0;
    std::string user; // empty: nobody
    bool isTls = false;

    // "HOST:PORT", for people.
    std::string text() const;
};

// mqtt://[USER@]HOST[:PORT] or mqtts://. Throws site::CFailure, also for a password in it: everybody on the
// machine sees what a program was started with.
SMqttBroker ParseMqttUrl(const std::string& text);

} // namespace corvane::service
