#pragma once

#include "tools/vornhost/names.h"

namespace corvane::vornhost {

// Texts that are decimal numbers as numbers, in lists and members too.
ordered_json Measured(ordered_json value);

} // namespace corvane::vornhost
