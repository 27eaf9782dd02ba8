#pragma once

#include <chrono>

namespace corvane::site {

// With the fraction that a clock has, as times are told to programs.
inline double MillisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

} // namespace corvane::site
