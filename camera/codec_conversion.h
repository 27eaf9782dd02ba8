#pragma once

#include "host/stream_id.h"
#include "host/text.h"

#include <string>

namespace corvane::panasonic_camera {

using device_handler::v1_0::COptional;
using device_handler::v1_0::VideoCodec;

// Single fields of a stream's record between the recorder's form and the camera's. A text that cannot be read
// has no counterpart: the result is then absent.

// Frames between key frames, and the seconds between them, which the camera takes as 0.2, 0.33, 0.5, 1 or
// more.
COptional<std::string> KeyFrameSeconds(const std::string& frames, const std::string& framesPerSecond);
COptional<std::string> KeyFrameFrames(const std::string& seconds, const std::string& framesPerSecond);

// Quality 0 to 100, and the camera's: MJPEG 0 to 10 where less is better, MPEG-4 a word, H.264 an empty text.
COptional<std::string> CameraQuality(VideoCodec codec, const std::string& quality);
COptional<std::string> RecorderQuality(VideoCodec codec, const std::string& quality);

// The width of WIDTHxHEIGHT, which is what the camera calls the resolution.
COptional<std::string> ResolutionWidth(const std::string& resolution);

} // namespace corvane::panasonic_camera
