#pragma once

#include <string>

namespace corvane::panasonic_camera {

// A model number as a camera reports it, taken apart at its first dash.
struct SModelNumber {
    std::string prefix; // up to and including the first "-"; empty when there is none
    std::string number; // the rest
};

inline SModelNumber SplitModelNumber(const std::string& reported) {
    const std::size_t dash = reported.find('-');
    if (dash == std::string::npos)
        return {std::string(), reported};
    return {reported.substr(0, dash + 1), reported.substr(dash + 1)};
}

} // namespace corvane::panasonic_camera
