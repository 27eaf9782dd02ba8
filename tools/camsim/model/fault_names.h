#pragma once

#include "model/fault_catalogue.h"

#include <nlohmann/json.hpp>
#include <string>

namespace camsim {

// Throws CFaultError, with the names that are near, when the catalogue has none of this name.
const SNamedFault& FindNamedFault(const std::string& name);

// Whether the text can only be meant for a name: it is no "PATTERN KIND".
bool LooksLikeAName(const std::string& text);

nlohmann::json DescribeNamedFault(const SNamedFault& fault);

// The catalogue for eyes: a heading, then a line for each.
std::string FaultTable();
// A line of JSON for each.
std::string FaultLines();

} // namespace camsim
