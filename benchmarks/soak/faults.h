#pragma once

#include "benchmarks/simulated_cameras.h"

#include <random>
#include <vector>

namespace corvane::bench {

// What goes wrong with one simulated camera for a while.
class CFaults {
public:
    CFaults(const CSimulatedCameras& cameras, std::size_t number) : cameras_(cameras), number_(number) {}

    // One more, of those that docs/faults.md names or of others; sometimes a restart.
    void add(std::mt19937& random);
    // All of them come to their end.
    void clear();

private:
    const CSimulatedCameras& cameras_;
    const std::size_t number_;
    std::vector<int> ids_;
};

} // namespace corvane::bench
