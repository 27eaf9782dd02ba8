#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace corvane::site {

// The options that every verb takes.
struct SOptions {
    std::string pluginFile;      // empty: the one built or installed beside the program
    std::string modelListFile;   // empty: the shipped one
    std::string modelNumber;     // empty: the camera is asked
    std::string databaseFile;    // empty: in memory
    std::optional<int> rtspPort; // in place of the model list's ports
    std::optional<std::string> user;
    std::optional<std::string> passwordFile;
    bool noCredentials = false;
    bool digestOnly = false;
    bool json = false;
    bool trace = false;
    bool noInitialize = false;
    int logLevel = 3; // LogFailure; see host/log.h
    std::optional<double>
        timeout; // seconds that an answer is waited for; absent: as long as the plug-in does

    // The shorter of the two: of the time-out and of what is usual.
    std::chrono::milliseconds patience(std::chrono::milliseconds usual) const;
    // As words of a command line.
    std::vector<std::string> arguments() const;
};

} // namespace corvane::site
