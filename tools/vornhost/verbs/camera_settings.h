#pragma once

#include "tools/vornhost/verbs/camera_report.h"

#include <functional>
#include <string>
#include <vector>

namespace corvane::vornhost {

// The codecs as bits, as the plug-in's capability has them.
enum CodecBit : int { MjpegBit = 1, Mpeg4Bit = 2, H264Bit = 4 };

// The settings of a camera that a person looks for, read with `read` (empty for a setting that the camera
// does not have). What belongs to a codec outside `codecBits` is left out: a camera without the codec may
// seem to have it, because names of settings contain each other.
std::vector<SReportSection> SettingSections(int videoInputs, long long codecBits,
                                            const std::function<std::string(const std::string& key)>& read);

} // namespace corvane::vornhost
