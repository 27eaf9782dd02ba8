#pragma once

#include "site/report/camera_report.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace corvane::site {

// Reads one of a camera's settings; empty for one that it does not have.
using ReadSetting = std::function<std::string(const std::string& key)>;

// The codecs as bits, as the plug-in's capability has them.
enum CodecBit : int { MjpegBit = 1, Mpeg4Bit = 2, H264Bit = 4 };

// The settings of a camera that a person looks for. What belongs to a codec outside `codecBits` is left out:
// a camera without the codec may seem to have it, because names of settings contain each other.
std::vector<SReportSection> SettingSections(int videoInputs, long long codecBits, const ReadSetting& read);

// A camera's alarm inputs, `count` of them: their contacts and alarms from its settings, and their `levels`
// in the camera's own words, as far as they are known.
SReportSection AlarmInputSection(int count, const std::map<int, std::string>& levels,
                                 const ReadSetting& read);

} // namespace corvane::site
