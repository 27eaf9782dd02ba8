#pragma once

#include "site/base/names.h"

#include <string>

namespace corvane::site {

// What an operation does, in one sentence; empty for one that is not described.
std::string GuideToOperation(const std::string& operation);

// What an argument of it means, and what it may be; empty for one that is not described.
std::string GuideToArgument(const std::string& operation, const std::string& argument);

// {"operation","does","arguments":[{"name","form","takes"}],"outputs"}.
ordered_json OperationJson(const SOperation& operation);

} // namespace corvane::site
