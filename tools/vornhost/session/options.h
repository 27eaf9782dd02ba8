#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace corvane::vornhost {

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

// --input N.
CLI::Option* DeclareInput(CLI::App& command, int& input, const std::string& description);

// --seconds S, which is left alone where it is not given.
void DeclareSeconds(CLI::App& command, std::optional<double>& seconds, const std::string& description);

// Declares them, for the program or for one verb.
void DeclareOptions(CLI::App& command, SOptions& options);

} // namespace corvane::vornhost
