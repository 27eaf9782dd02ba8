#pragma once

#include "camera/setting_keys.h"
#include "host/stream_id.h"

#include <string>
#include <vector>

namespace corvane::panasonic_camera {

using device_handler::v1_0::VideoCodec;
using handler_impl::SVideoStreamId;

// The index of a camera's second stream of a codec; any other index is the first's.
inline constexpr int FirstStream = 0;
inline constexpr int SecondStream = 1;

// What the settings dump calls one stream's settings.
struct SStreamKeys {
    std::string resolution; // empty where there is none, as with the others
    std::string frameRate;
    std::string quality;
    std::string keyFrameInterval;
    std::string bitRate;
};

// One MPEG-4 or H.264 stream of the camera.
struct SCodedStream {
    VideoCodec codec;
    bool isSecond;
    const char* transmission;  // settings key: "1" while the stream is sent
    const char* framePriority; // settings key: "1" while the frame rate goes before the bit rate
    const char* rtspMode;      // settings key: "1" while RTSP delivers the stream
    const char* resolution;    // the further settings keys; null where there is none
    const char* frameRate;
    const char* quality;
    const char* keyFrameInterval;
    const char* bitRate;
    const char* setPath; // the request that sets the stream
};

// How the requests of a codec name its parameters.
struct SCodedFamily {
    VideoCodec codec;
    const char* transmitOn; // query: transmission and frame priority on, always together
    const char* rtspOn;     // query: RTSP on for both streams
    const char* resolution; // parameter names
    const char* keyFrameInterval;
};

// The stream's row, or null for a codec that is neither MPEG-4 nor H.264.
const SCodedStream* FindCodedStream(VideoCodec codec, int stream);
const SCodedFamily* FindCodedFamily(VideoCodec codec);

// The names of an MJPEG setting: the first channel's, and the others', which the channel's number follows.
struct SMjpegNames {
    const char* firstChannel;
    const char* otherChannels;
};

inline constexpr SMjpegNames MjpegResolutionKey = {key::MjpegSize, "LIVESIZECH"};
inline constexpr SMjpegNames MjpegFrameRateKey = {key::MjpegInterval, "LIVEINTCH"};
inline constexpr SMjpegNames MjpegQualityKey = {key::MjpegQuality, "LIVEQUALCH"};
inline constexpr SMjpegNames MjpegResolutionParameter = {"jpeg_resolution", "jpeg_resolution_ch"};
inline constexpr SMjpegNames MjpegQualityParameter = {"jpeg_quality", "jpeg_quality_ch"};
inline constexpr SMjpegNames MjpegFrameRateParameter = {"jpeg_interval", "jpeg_interval_ch"};

std::string NameForChannel(const SMjpegNames& names, int channel);

// The settings keys of a stream; all empty for an unknown codec.
SStreamKeys KeysOfStream(const SVideoStreamId& id);

// Every settings key of the MPEG-4 and H.264 streams, and of MJPEG on that many channels.
std::vector<std::string> KeysOfAllStreams(int channels);

} // namespace corvane::panasonic_camera
