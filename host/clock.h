#pragma once

#include "host/api.h"

#include <cstdint>

namespace corvane::vorn_utility::v1_0 {

// Monotonic milliseconds, from an arbitrary moment. Callable from any thread.
VORN_HOST_API std::uint64_t gettime();

} // namespace corvane::vorn_utility::v1_0
