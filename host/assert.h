#pragma once

#include "host/api.h"

namespace corvane::device_handler::v1_0 {

// Reports a programming error on standard error as "assertion failed: SOURCE:LINE" and ends the process.
[[noreturn]] VORN_HOST_API void AssertionFailed(const char* source, int line);

// Checks what only a programming error can make false; checked in every build.
inline void HostAssert(bool condition, const char* source, int line) {
    if (!condition)
        AssertionFailed(source, line);
}

} // namespace corvane::device_handler::v1_0
