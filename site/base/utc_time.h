#pragma once

#include <chrono>
#include <string>

namespace corvane::site {

// A time for programs: "2026-11-26T06:37:35.250Z" (RFC 3339).
std::string UtcTimeText(std::chrono::system_clock::time_point time);

} // namespace corvane::site
