#pragma once

#include "site/session/options.h"
#include "tools/vornhost/names.h"

#include <string>

namespace corvane::vornhost {

// The versions of the program, of the plug-in and model list that the options name, and of what they run on:
// a line each, the program's first. What cannot be had is told with its reason.
std::string VersionsText(const SOptions& options);

} // namespace corvane::vornhost
