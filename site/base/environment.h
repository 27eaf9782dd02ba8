#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace corvane::site {

// An environment variable; nothing when it is not set.
inline std::optional<std::string> EnvironmentVariable(const char* name) {
    const char* const value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): the program never sets one
    return value ? std::optional<std::string>(value) : std::nullopt;
}

} // namespace corvane::site
