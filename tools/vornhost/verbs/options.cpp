#include "tools/vornhost/verbs/options.h"

#include "tools/vornhost/verbs/number_range.h"

#include <CLI/CLI.hpp>

namespace corvane::vornhost {
namespace {

constexpr int HighestLogLevel = 4; // above every level that is used: no lines at all
constexpr int HighestPort = 65535;
constexpr int HighestInput = 9999; // beyond every encoder's
constexpr double LeastSeconds = 0.1;
constexpr double MostSeconds = 366.0 * 24 * 60 * 60;
constexpr double LongestTimeout = 60 * 60;

} // namespace

CLI::Option* DeclareInput(CLI::App& command, int& input, const std::string& description) {
    return command.add_option("--input", input, description)->type_name("N")->check(Between(0, HighestInput));
}

void DeclareSeconds(CLI::App& command, std::optional<double>& seconds, const std::string& description) {
    command.add_option("--seconds", seconds, description)
        ->type_name("S")
        ->check(Between(LeastSeconds, MostSeconds));
}

void DeclareOptions(CLI::App& command, SOptions& options) {
    const auto file = [&command](const char* name, std::string& target, const char* description) {
        command.add_option(name, target, description)->type_name("FILE");
    };
    file("--plugin", options.pluginFile, "The plug-in (default: the one beside the program)");
    file("--models", options.modelListFile, "The model list (default: the shipped one)");
    file("--db", options.databaseFile, "The device database (default: in memory)");
    command.add_option("--model", options.modelNumber, "Take this model, whatever the camera says it is")
        ->type_name("NUMBER");
    command
        .add_option("--rtsp-port", options.rtspPort, "The port of every stream, whatever the model list says")
        ->type_name("N")
        ->check(Between(1, HighestPort));
    command.add_option("--user", options.user, "User name (else VORNHOST_USER, else the family's default)")
        ->type_name("NAME");
    command
        .add_option("--password-file", options.passwordFile,
                    "Its first line is the password (else VORNHOST_PASSWORD, else the family's)")
        ->type_name("FILE");
    command.add_flag("--no-credentials", options.noCredentials, "The device has no credentials");
    command.add_flag("--digest-only", options.digestOnly,
                     "Refuse Basic authentication, which shows the password to whoever listens");
    command.add_flag("--json", options.json, "Machine-readable output");
    command.add_flag("--trace", options.trace, "Each HTTP exchange as one JSON line on standard error");
    command
        .add_option("--log-level", options.logLevel,
                    "The lowest level of log lines shown: 1 details, 2 notices, 3 failures (default), 4 none")
        ->type_name("N")
        ->check(Between(0, HighestLogLevel));
    command
        .add_option("--timeout", options.timeout, "Wait no longer than S seconds for an answer of the camera")
        ->type_name("S")
        ->check(Between(LeastSeconds, LongestTimeout));
    command.add_flag("--no-initialize", options.noInitialize,
                     "Make the camera object, and skip its initialisation");
}

} // namespace corvane::vornhost
