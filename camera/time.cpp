#include "camera/time.h"

#include <chrono>

namespace corvane::panasonic_camera {

std::uint64_t get_time() {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count());
}

} // namespace corvane::panasonic_camera
