#pragma once

#include "host/model_info.h"
#include "host/text.h"

#include <string>
#include <vector>

namespace corvane::panasonic_camera {

using device_handler::v1_0::CString;
using device_handler::v1_0::SAdjustment;

// The value in the camera's units at a percentage of the adjustment's range, both in decimal, rounded toward
// the minimum; below 0 and above 100 it leaves the range. The adjustment's default when the percentage or the
// range cannot be read.
std::string CameraValueOf(const SAdjustment& adjustment, const CString& percent);

// Appends, in percent: the camera's value, the adjustment's default, minimum, maximum and step. What cannot
// be converted is half way.
void AppendPercentages(const SAdjustment& adjustment, const std::string& cameraValue,
                       std::vector<CString>& values);

} // namespace corvane::panasonic_camera
