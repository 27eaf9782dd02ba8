#include "camera/time.h"

#include <ctime>

namespace corvane::panasonic_camera {

// Of the kernel's last tick: every read of a setting looks at the time, to hold it against a minute.
std::uint64_t get_time() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    constexpr std::uint64_t PerSecond = 1'000;
    constexpr std::uint64_t OfNanoseconds = 1'000'000;
    return static_cast<std::uint64_t>(now.tv_sec) * PerSecond +
           static_cast<std::uint64_t>(now.tv_nsec) / OfNanoseconds;
}

} // namespace corvane::panasonic_camera
