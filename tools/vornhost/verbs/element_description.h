#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace corvane::vornhost {

// All that can be told of a GStreamer element that is registered in this process: its factory, plug-in, class
// hierarchy, pad templates and properties. Null when there is no such element. `name` is the factory's.
nlohmann::ordered_json DescribeElement(const std::string& name);

// A description for a person's eyes.
std::string ElementText(const nlohmann::ordered_json& description);

} // namespace corvane::vornhost
