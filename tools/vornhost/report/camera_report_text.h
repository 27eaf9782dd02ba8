#pragma once

#include "site/report/camera_report.h"
#include "tools/vornhost/names.h"

#include <string>

namespace corvane::vornhost {

// A camera's report for eyes.
std::string ReportText(const SCameraReport& report, bool colour);

} // namespace corvane::vornhost
