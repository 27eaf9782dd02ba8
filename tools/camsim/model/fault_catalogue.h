#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace camsim {

// A fault that has a name: what happens at the camera, what is to be found, and what it is made of.
struct SNamedFault {
    std::string name;
    // Where in the use of a camera it shows, the check that finds it, and what is found.
    std::string phase;
    std::string check;
    std::string cause;
    int seconds;      // the most that may pass until it is found
    std::string what; // one sentence for people

    std::vector<std::string> faults; // as ParseFaultText() reads them
    // Settings of the camera and the values that they take; none takes the setting away.
    std::vector<std::pair<std::string, std::optional<std::string>>> settings{};
};

// In the order of the phases.
const std::vector<SNamedFault>& FaultCatalogue();

} // namespace camsim
