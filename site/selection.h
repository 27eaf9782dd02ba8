#pragma once

#include "site/site_file.h"

#include <string>
#include <vector>

namespace corvane::site {

// Whether a camera is among those that the patterns choose: each is a shell pattern for names, or "tag:WORD".
// No pattern chooses all.
bool IsSelected(const SSiteCamera& camera, const std::vector<std::string>& patterns);

} // namespace corvane::site
