#pragma once

#include "site/base/names.h"

namespace corvane::site {

// Texts that are decimal numbers as numbers, in lists and members too.
ordered_json Measured(ordered_json value);

} // namespace corvane::site
