#pragma once

#include "net/authenticator.h"
#include "net/connection_bounds.h"
#include "net/listeners.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace CLI {
class App;
}

namespace camsim {

// What the command line asks for.
struct SOptions {
    size_t count = 1;
    std::vector<std::string> models;
    std::vector<std::string> cameraDirectories;
    std::string listen = "127.0.0.1:0";
    AddressPlan addresses = AddressPlan::ConsecutivePorts;
    uint16_t controlPort = 0;
    std::optional<uint16_t> rtspPort; // none: each camera's setting decides
    bool withoutRtsp = false;

    AuthScheme authScheme = AuthScheme::Digest;
    std::string user = "admin";
    std::string passwordFile;
    int64_t nonceLifetimeSeconds = 24 * 60 * 60;

    double rebootSeconds = 5;
    double monitorPeriodSeconds = 5;
    std::string scenarioFile;
    std::string stateFile;
    std::vector<std::string> faults;
    size_t logSize = 100'000;

    // For tests, which neither wait for half a minute nor open so many connections:
    SConnectionTimes connectionTimes;
    size_t descriptors = SIZE_MAX; // how many the program takes at most
};

// The program's options, with their help: what is parsed, and what the manual is made of.
class CCommandLine {
public:
    CCommandLine();
    ~CCommandLine();
    CCommandLine(const CCommandLine&) = delete;
    CCommandLine& operator=(const CCommandLine&) = delete;

    const CLI::App& program() const { return *app_; }

    // What the words ask for; or, where help, version or the reason of a refusal has been printed, the exit
    // status.
    std::variant<SOptions, int> parse(int argc, char** argv);

private:
    SOptions options_;
    bool asJson_ = false;
    std::unique_ptr<CLI::App> app_;
    const CLI::App* listsFaults_ = nullptr;
};

} // namespace camsim
