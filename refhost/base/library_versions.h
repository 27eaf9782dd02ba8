#pragma once

#include "host/api.h"

#include <string>

namespace corvane::refhost {

// The framework's own, as its package has it: "1.0.0".
VORN_HOST_API std::string FrameworkVersion();

// The libraries that the framework runs on, a line each, as they are on this machine.
VORN_HOST_API std::string LibraryVersions();

} // namespace corvane::refhost
