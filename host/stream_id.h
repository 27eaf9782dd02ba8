#pragma once

#include <tuple>

namespace corvane::device_handler::v1_0 {

// A video stream's codec. Devices may report others; only these three are understood.
enum class VideoCodec : int { Mjpeg = 0, Mpeg4 = 1, H264 = 2 };

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

} // namespace corvane::handler_impl
