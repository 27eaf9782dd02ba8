#include "host/clock.h"

#include <chrono>

namespace corvane::vorn_utility::v1_0 {

std::uint64_t gettime() {
    using namespace std::chrono;
    return static_cast<std::uint64_t>(
        duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

} // namespace corvane::vorn_utility::v1_0
