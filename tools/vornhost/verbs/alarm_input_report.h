#pragma once

#include "tools/vornhost/verbs/camera_report.h"

#include <functional>
#include <map>
#include <string>

namespace corvane::vornhost {

// A camera's alarm inputs, `count` of them: their contacts and alarms from its settings, which are read with
// `read` (empty for a setting that the camera does not have), and their `levels` in the camera's own words,
// as far as they are known.
SReportSection AlarmInputSection(int count, const std::map<int, std::string>& levels,
                                 const std::function<std::string(const std::string& key)>& read);

} // namespace corvane::vornhost
