#pragma once

#include "model/camera.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace camsim {

// A codec's stream as the capability's keys name it: the codec ("h264") and, of its second stream, what
// stands behind it ("-2").
struct SCapabilityStream {
    std::string_view codec;
    std::string_view suffix{};
};

// What the camera offers for a stream in the picture size and ratio that it is set to, as the capability has
// it; empty when the camera reports nothing. Resolutions are WIDTHxHEIGHT, intervals seconds; frame rates
// above the mode's highest are left out.
std::vector<std::string> Resolutions(const CCamera& camera, const SCapabilityStream& stream);
std::vector<std::string> FrameRates(const CCamera& camera, const SCapabilityStream& stream);
std::vector<std::string> KeyFrameIntervals(const CCamera& camera, const SCapabilityStream& stream);

// The entry that is `value`, else the one whose number is nearest to it (the lower of two); none when
// `value` is no number or no entry is. Of an entry such as 640x480 the number is 640.
std::optional<std::string> NearestEntry(const std::vector<std::string>& entries, const std::string& value);

} // namespace camsim
