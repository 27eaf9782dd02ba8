#pragma once

#include <string>
#include <tuple>

namespace corvane::device_handler::v1_0 {

// A video stream's codec. Devices may report others; only these three are understood.
enum class VideoCodec : int { Mjpeg = 0, Mpeg4 = 1, H264 = 2 };

// How one codec is called.
struct SVideoCodecName {
    VideoCodec codec;
    const char* name;    // in settings, records and capabilities
    const char* urlName; // in the model list's tables of stream locations
};

inline constexpr SVideoCodecName VideoCodecNames[] = {
    {VideoCodec::Mjpeg, "mjpeg", "MJPEG"},
    {VideoCodec::Mpeg4, "mpeg4", "MP4V"},
    {VideoCodec::H264, "h264", "H264"},
};

// Null for a codec that nobody understands.
inline const SVideoCodecName* FindCodecName(VideoCodec codec) {
    for (const SVideoCodecName& row : VideoCodecNames)
        if (row.codec == codec)
            return &row;
    return nullptr;
}

// An audio stream's codec.
enum class AudioCodec : int { G726 = 0 };

inline constexpr const char* G726Name = "g726";

} // namespace corvane::device_handler::v1_0

namespace corvane::handler_impl {

// A video stream of the recorder.
struct SVideoStreamId {
    int channel = 0; // video input, from 0
    device_handler::v1_0::VideoCodec codec = device_handler::v1_0::VideoCodec::Mjpeg;
    int stream = 0; // 1 is the device's second stream of the codec

    friend bool operator==(const SVideoStreamId& a, const SVideoStreamId& b) { return a.key() == b.key(); }
    friend bool operator<(const SVideoStreamId& a, const SVideoStreamId& b) { return a.key() < b.key(); }

private:
    std::tuple<int, int, int> key() const { return {channel, static_cast<int>(codec), stream}; }
};

// An audio stream of the recorder.
struct SAudioStreamId {
    int stream = 0; // audio input, from 0; also the number of the video input beside which it comes
    device_handler::v1_0::AudioCodec codec = device_handler::v1_0::AudioCodec::G726;
};

// "STREAM,CODEC", the codec by number.
inline std::string StreamIdText(const SAudioStreamId& id) {
    return std::to_string(id.stream) + "," + std::to_string(static_cast<int>(id.codec));
}

} // namespace corvane::handler_impl
