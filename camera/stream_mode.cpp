// Which codec family the camera runs, which of its streams a stream of the recorder is, and switching a
// stream's transmission and RTSP delivery on.

#include "camera/cgi_paths.h"
#include "camera/errors.h"
#include "camera/numbers.h"
#include "camera/panasonic_camera.h"
#include "camera/setting.h"
#include "camera/setting_keys.h"
#include "camera/stream_tables.h"

#include <boost/algorithm/string/replace.hpp>

namespace corvane::panasonic_camera {

namespace {

constexpr const char* RtspPort = "554";
constexpr const char* Mpeg4Mode = "0"; // of STREAMMODE

constexpr int Bit(VideoCodec codec) {
    return 1 << static_cast<int>(codec);
}

CString IdText(VideoCodec codec) {
    return std::to_string(static_cast<int>(codec));
}

} // namespace

bool CPanasonicCamera::supports(VideoCodec codec) const {
    return (capabilityOrNone().getVideoCodecsSupported() & Bit(codec)) != 0;
}

CPanasonicCamera::SRunningFamily CPanasonicCamera::runningFamily() const {
    const bool mpeg4 = supports(VideoCodec::Mpeg4);
    const bool h264 = supports(VideoCodec::H264);
    if (!mpeg4 && !h264)
        return {true, {}};
    if (mpeg4 != h264)
        return {true, mpeg4 ? VideoCodec::Mpeg4 : VideoCodec::H264};
    const std::string mode = cameraSetting(key::StreamMode);
    if (mode.empty())
        return {false, {}};
    return {true, mode == Mpeg4Mode ? VideoCodec::Mpeg4 : VideoCodec::H264};
}

bool CPanasonicCamera::IsH264OrMPEG4Supported() {
    const SRunningFamily family = runningFamily();
    if (!family.codec)
        return false;
    return cameraSetting(FindCodedStream(*family.codec, FirstStream)->transmission) == On;
}

int CPanasonicCamera::GetH264Mpeg4Mode() {
    const bool mpeg4 = supports(VideoCodec::Mpeg4);
    const bool h264 = supports(VideoCodec::H264);
    if (!mpeg4 && !h264)
        return 0;
    // Against "1", where the running family is told by "0": the two differ for any other value.
    return mpeg4 && h264 && cameraSetting(key::StreamMode) == On ? 2 : 1;
}

CError CPanasonicCamera::getVideoCodecCount(int /*channel*/, CString& count) {
    count = GetH264Mpeg4Mode() == 0 ? "1" : "2";
    return CError::Success();
}

CError CPanasonicCamera::getVideoCodecId(int /*channel*/, int index, CString& id) {
    if (index == 1) {
        id = IdText(VideoCodec::Mjpeg);
    } else if (index == 0) {
        const SRunningFamily family = runningFamily();
        if (!family.isKnown)
            return errors::NotReported();
        if (family.codec)
            id = IdText(*family.codec);
    }
    return CError::Success();
}

CError CPanasonicCamera::getVideoCodecMaxStreams(int channel, VideoCodec codec, CString& max) {
    if (CError error = CVornCamera::getVideoCodecMaxStreams(channel, codec, max))
        return error;
    CString camera;
    if (CError error = getCameraMaxStreams(channel, camera))
        return error;
    if (ReadNumber<int>(camera.str()) < ReadNumber<int>(max.str()))
        max = camera;
    return CError::Success();
}

int CPanasonicCamera::mapVideoStreamToActualCameraStream(SVideoStreamId id, int& cameraStream) {
    constexpr int Mapped = 1;
    constexpr int NoCameraStream = 2;
    CString max;
    if (getCameraMaxStreams(id.channel, max) || id.stream >= ReadNumber<int>(max.str()))
        return NoCameraStream;
    cameraStream = id.stream;
    return Mapped;
}

int CPanasonicCamera::findAssociatedStream(SVideoStreamId id) {
    return id.stream;
}

int CPanasonicCamera::GetH264Mpeg4TransmissionMode(SVideoStreamId& id) {
    const SCodedStream* stream = FindCodedStream(id.codec, id.stream);
    if (!stream)
        return 0;
    const bool isNeeded =
        cameraSetting(stream->transmission) == Off || cameraSetting(stream->framePriority) == Off;
    if (!isNeeded)
        return 0;
    return stream->isSecond ? 2 : 1;
}

CError CPanasonicCamera::SetupStreamTransmition(SVideoStreamId& id) {
    if (!setting)
        return CError::Success();
    if (id.codec == VideoCodec::Mjpeg) {
        // A camera without a family switch sends MPEG-4 or MJPEG, not both.
        if (cameraSetting(key::StreamMode).empty() && cameraSetting(key::Mpeg4Transmission) == On)
            setting->SetCameraSettingNoReload(cgi::SetMpeg, cgi::Mpeg4TransmitOff);
        return CError::Success();
    }
    const SCodedStream* stream = FindCodedStream(id.codec, id.stream);
    if (!stream)
        return CError::Success();
    const SCodedFamily& family = *FindCodedFamily(id.codec);
    if (cameraSetting(stream->transmission) != On)
        setting->SetCameraSettingNoReload(stream->setPath, family.transmitOn);
    if (cameraSetting(key::RtspPort) != RtspPort || cameraSetting(stream->rtspMode) != On)
        setting->SetCameraSettingNoReload(cgi::SetRtsp, family.rtspOn);
    return CError::Success();
}

std::string CPanasonicCamera::GetImageMode() {
    std::string mode = cameraSetting(key::ImageSelect);
    const std::string ratio = cameraSetting(key::ImageRatio);
    if (mode.empty())
        mode = "1_3m";
    else
        boost::replace_all(mode, ".", "_");
    if (ratio == "16_9")
        mode += "_r" + ratio;
    if (cameraSetting(key::ImageSvga) == On)
        mode += "_r" + ratio + "_800"; // also behind a ratio that is already there
    return mode;
}

} // namespace corvane::panasonic_camera
