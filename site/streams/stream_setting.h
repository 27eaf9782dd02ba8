#pragma once

#include "site/diagnosis/diagnosis.h"
#include "site/session/device_session.h"

#include <optional>
#include <string>

namespace corvane::site {

// What a stream of the camera is set to; empty where the camera does not say.
struct SStreamSetting {
    std::string resolution; // "WIDTHxHEIGHT"
    std::optional<double> frameRate;
    std::optional<double> keyFrameInterval; // in frames
};

// Of a stream as it is written, "0,h264,0". Waits for the camera's settings.
SStreamSetting StreamSettingOf(const CDeviceSession& session, const std::string& stream);

// What comes of a stream; empty, or 0, where it is not known.
struct SStreamSeen {
    std::string resolution;
    double frameRate = 0;
};

// When the pictures are not what is set. `leastOfRate` is the part of the frame rate below which it is
// another; `asked` what the camera was asked last for the stream.
std::optional<SDiagnosis> DiagnoseWrongStream(const SStreamSeen& seen, const SStreamSetting& wish,
                                              double leastOfRate, const std::string& asked);
SDiagnosis WrongStream(const std::string& problem, const std::string& asked, const std::string& answered);

// The settings that switch a stream of a codec on, and its delivery over RTSP; behind them "_2" for the
// second.
struct SStreamSwitches {
    VideoCodec codec;
    const char* name;
    const char* transmission;
    const char* rtsp;
};
inline constexpr SStreamSwitches CodedStreams[] = {{VideoCodec::H264, "h264", "H264", "H264RTSPMODE"},
                                                   {VideoCodec::Mpeg4, "mpeg4", "MPEG", "RTSPMODE"}};
inline constexpr const char* SwitchedOffValue = "0";

SDiagnosis SwitchedOff(const std::string& problem, const std::string& setting);

// When the camera has the stream switched off, or its delivery.
std::optional<SDiagnosis> DiagnoseStreamOff(const CDeviceSession& session, const SVideoStreamId& id);

// Why RTSP has not given the stream, where the camera's settings or its absence say more than RTSP did.
SDiagnosis DiagnoseLostStream(const CDeviceSession& session, const SVideoStreamId& id, SDiagnosis known);

} // namespace corvane::site
