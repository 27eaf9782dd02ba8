#pragma once

#include "model/camera.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace camsim {

// None: sound alone.
enum class VideoCodec { None, Mjpeg, Mpeg4, H264 };

// The codec of this name in the paths of streams: "h264", "mpeg4" or "jpeg".
std::optional<VideoCodec> CodecNamed(std::string_view name);

// A stream that a camera model has, and the path at which it is served.
struct SVideoStream {
    std::string path; // with its leading slash
    VideoCodec codec;
    int number; // of the codec's streams, from 1
    int input;  // of the video inputs, from 0
};

// Every stream that the model can serve: of each input, and the sound.
std::vector<SVideoStream> VideoStreams(const SCameraModel& model);

// Whether the camera's settings let the stream be served: its transmission and its RTSP delivery are on, and
// on a camera that runs one codec family at a time it is the one that runs. Sound alone is served while
// the RTSP delivery of the first stream of a family that runs is on, transmitted or not, and there is sound.
bool IsServed(const CCamera& camera, const SVideoStream& stream);

// Frames per second as a reduced fraction.
struct SFrameRate {
    int numerator;
    int denominator;
    bool operator==(const SFrameRate& other) const {
        return numerator == other.numerator && denominator == other.denominator;
    }
};

// How a stream is encoded. What the camera's settings do not say, or not readably, is what it offers
// highest.
struct SStreamProfile {
    VideoCodec codec = VideoCodec::Mjpeg;
    int width = 0;
    int height = 0;
    SFrameRate rate{1, 1};
    int framesPerKeyFrame = 1; // 1 for MJPEG
    int kilobitsPerSecond = 0; // 0 for MJPEG
    int jpegPercent = 0;       // of the best quality; 0 for the others
    int audioKilobits = 0;     // a second, of the sound that goes with it; 0 when none does

    bool operator==(const SStreamProfile& other) const;
};

// What the camera's settings say at this moment.
SStreamProfile StreamProfile(const CCamera& camera, const SVideoStream& stream);

// "H.264 1280x960, 30 fps, key frame every 30, 2048 kbit/s, G.726 32 kbit/s"
std::string DescribeProfile(const SStreamProfile& profile);

// The title that the camera shows in the pictures of an input.
std::string InputTitle(const CCamera& camera, int input);

} // namespace camsim
