#pragma once

#include <string>
#include <vector>

namespace corvane::refhost {

// At most three of the names that the user may have meant, the likeliest first.
std::vector<std::string> NearNames(const std::string& name, const std::vector<std::string>& names);

// "; did you mean A or B?"; empty where nothing is near.
std::string DidYouMean(const std::string& name, const std::vector<std::string>& names);

} // namespace corvane::refhost
