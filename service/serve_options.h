#pragma once

#include <optional>
#include <string>
#include <vector>

namespace corvane::service {

// What a service is told on its command line.
struct SServeOptions {
    std::string site;                // the file
    std::vector<std::string> listen; // ADDRESS:PORT; empty: UsualListen
    std::string state;               // its directory; empty: the usual one
    std::string tlsCertificate;      // files; both or neither
    std::string tlsKey;              //
    std::vector<std::string> hosts;  // further names that it is asked as
    std::string tokenFile;           // empty: one is made in the state directory
    std::string name;                // of the service; empty: the site file's, without its ending
    std::string mqtt;                // a broker's URL; empty: none
    std::optional<std::string> mqttPasswordFile;
    std::string mqttPrefix = "vornhost";
    bool mqttCalls = false;
    bool mqttDiscovery = false;
    double driftMinutes = 60; // between two looks at a camera's drift
    bool noPage = false;
};

inline constexpr const char* UsualListen = "127.0.0.1:8090";

} // namespace corvane::service
