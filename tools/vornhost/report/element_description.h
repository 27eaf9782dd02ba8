#pragma once

#include "site/base/names.h"
#include "tools/vornhost/names.h"

#include <string>

namespace corvane::vornhost {

// All that can be told of a GStreamer element that is registered in this process: its factory, plug-in, class
// hierarchy, pad templates and properties. Null when there is no such element. `name` is the factory's.
ordered_json DescribeElement(const std::string& name);

// A description for a person's eyes.
std::string ElementText(const ordered_json& description);

} // namespace corvane::vornhost
