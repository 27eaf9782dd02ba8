#pragma once

#include <cstdint>

namespace corvane::service {

// What this process uses of its machine.
struct SProcessUse {
    double cpuSeconds = 0; // of all its threads, since it began
    std::uint64_t residentBytes = 0;
    std::uint64_t virtualBytes = 0;
    std::uint64_t openDescriptors = 0;
    double mostDescriptors = 0; // infinite where nothing limits them
    double started = 0;         // seconds since 1970
    std::uint64_t threads = 0;
};

// What the system does not tell is 0.
SProcessUse ReadProcessUse();

} // namespace corvane::service
