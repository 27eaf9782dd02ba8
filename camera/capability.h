#pragma once

#include "host/stream_id.h"
#include "host/text.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace corvane::panasonic_camera {

using device_handler::v1_0::VideoCodec;

// What a camera can do: the queries of its capability text, the reply of "/cgi-bin/get_capability". The text
// holds lines KEY=VALUE, each ended by CR LF; a key is found at its first occurrence anywhere in the text,
// and its value, never trimmed or converted, runs to the line's end. No query fails: a missing key gives an
// empty answer, an unreadable number 0.
//
// Immutable, so every operation may be called from any thread.
//
// Arguments: `codec` is one of the three named codecs; any other gives the empty answer. `stream` is 0 for
// the camera's first stream of the codec and anything else for its second; MJPEG has but one. `mode` is the
// name of an image-capture mode as `getImageMode` lists them ("1_3m"); it may be empty.
//
// Lists are the value cut at each comma, so an empty value is a list of one empty text. A blank behind a
// comma belongs to the entry: whoever compares entries compares all of it, and whoever reads a number in one
// reads it behind its leading blanks (ReadNumber, ReadListNumber in camera/numbers.h).
class CPanasonicCapability {
public:
    explicit CPanasonicCapability(std::string text);
    CPanasonicCapability(const CPanasonicCapability&) = delete;
    CPanasonicCapability& operator=(const CPanasonicCapability&) = delete;

    // Whether the key has a value, whatever it says: "video_server.basic.analogue_input=",
    // "video_server.image.mode=".
    bool IsAnalogInputSupported() const;
    bool IsImageModeSupported() const;

    // The image-capture modes, in text order: "video_server.image.mode=".
    std::vector<std::string> getImageMode() const;

    // Bit set: 1 MJPEG, 2 MPEG-4, 4 H.264. "video_server.image.format=" with "mjpeg", "mpeg4", "h264".
    int getVideoCodecsSupported() const;

    // Resolutions WIDTHxHEIGHT in the order of SortResolutions:
    // "video_server.image.CODEC.resolution_each_mode.MODE=", else "video_server.image.CODEC.resolution=".
    std::vector<std::string> getResolutionForCodec(const std::string& mode, VideoCodec codec,
                                                   int stream) const;

    // Frame rates in frames per second, in text order: "video_server.image.CODEC.framerate=".
    std::vector<std::string> getVideoCodecFrameRate(VideoCodec codec, int stream) const;

    // Intervals between key frames in seconds, in text order; none for MJPEG:
    // "video_server.image.CODEC.i_interval=".
    std::vector<std::string> getVideoCodecIInterval(VideoCodec codec, int stream) const;

    // Qualities in text order, of both streams: "video_server.image.CODEC.quality=".
    std::vector<std::string> getVideoCodecQuality(VideoCodec codec) const;

    // The highest frame rate in a mode: "video_server.image.CODEC.max_framerate.MODE="; "30" without a mode,
    // for an unknown codec, and where the key is missing.
    std::string getMaxFrameRate(VideoCodec codec, int stream, const std::string& mode) const;

    // Bandwidths in text order, of both streams; none for MJPEG: "video_server.image.CODEC.bandwidth=".
    std::vector<std::string> getVideoCodecBandwidth(VideoCodec codec) const;

    // Whether the camera has alarm inputs, and how many: the terminals 1 to N
    // ("video_server.peripheral.io.number=") whose value ("video_server.peripheral.io.trm1=") mentions
    // "alm_in". When N or a terminal is missing `count` is left unchanged, and the answer is whether N is
    // other than 0.
    bool IsDryContactSupported(int& count) const;

    // The number of terminals of any kind: "video_server.peripheral.io.number=".
    int getDryContactInputCount() const;

    // Whether the camera has the audio input, counted from 0: "video_server.audio.audio_input.number=".
    bool IsAudioSupported(int input) const;

private:
    void index();
    device_handler::v1_0::COptional<std::string_view> valueOf(const std::string& key) const;
    std::vector<std::string> listOf(const std::string& key) const;
    int numberOf(const std::string& key) const;

    const std::string text_;
    std::unordered_map<std::string_view, std::size_t> values_; // where the first value of a key begins
    bool isIndexed_ = true;                                    // as a whole
};

// Whether resolution `a` is narrower than `b`. Only the widths count; one without an "x", or whose width
// cannot be read, has width 0.
bool SortResolutions(const std::string& a, const std::string& b);

} // namespace corvane::panasonic_camera
