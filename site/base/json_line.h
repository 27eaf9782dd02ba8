#pragma once

#include "refhost/base/printable_text.h"

#include <nlohmann/json_fwd.hpp>

#include <cmath>
#include <string>

namespace corvane::site {

// A value as one line with its line end; bytes that are no UTF-8 are replaced.
inline std::string JsonLine(const nlohmann::ordered_json& value) {
    return refhost::JsonText(value) + "\n";
}

// A duration for programs: three decimals at most.
inline double ThreeDecimals(double value) {
    return std::round(value * 1000) / 1000;
}

} // namespace corvane::site
