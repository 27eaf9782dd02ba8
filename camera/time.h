#pragma once

#include <cstdint>

namespace corvane::panasonic_camera {

// Wall-clock time in milliseconds since the epoch, some milliseconds late at most.
std::uint64_t get_time();

} // namespace corvane::panasonic_camera
