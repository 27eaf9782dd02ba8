#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace camsim {

// The name=value pairs of a query or a form, decoded, in their order. A name without "=" has an empty value.
using Parameters = std::vector<std::pair<std::string, std::string>>;

// Decodes a query string or an application/x-www-form-urlencoded body. A broken percent escape stands for
// itself.
Parameters ParseForm(std::string_view text);

// The value of the first parameter of this name, or `absent`.
std::string ParameterValue(const Parameters& parameters, std::string_view name, std::string_view absent = "");

// A request target ("/cgi-bin/getinfo?FILE=1") cut at its first "?".
struct STarget {
    std::string path;
    std::string query;
};
STarget SplitTarget(std::string_view target);

} // namespace camsim
