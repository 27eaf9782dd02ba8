#pragma once

#include "site/session/options.h"
#include "tools/vornhost/names.h"

#include <optional>
#include <string>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace corvane::vornhost {

// --input N.
CLI::Option* DeclareInput(CLI::App& command, int& input, const std::string& description);

// --seconds S, which is left alone where it is not given.
void DeclareSeconds(CLI::App& command, std::optional<double>& seconds, const std::string& description);

// Declares them, for the program or for one verb.
void DeclareOptions(CLI::App& command, SOptions& options);

} // namespace corvane::vornhost
