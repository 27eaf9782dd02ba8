// Conversion, comparison, synchronisation and setting of a video stream's parameters.

#include "camera/cgi_paths.h"
#include "camera/codec_conversion.h"
#include "camera/errors.h"
#include "camera/panasonic_camera.h"
#include "camera/setting.h"
#include "camera/stream_tables.h"

#include "host/log.h"

#include <algorithm>
#include <map>
#include <mutex>

namespace corvane::panasonic_camera {

using device_handler::v1_0::FindCodecName;
using device_handler::v1_0::InputClass;
using device_handler::v1_0::LogFailure;
namespace video_property = vorn_camera_base::v1_0::video_property;

namespace {

// A model whose inputs share one encoder, so that what one of them is set to holds for all.
constexpr const char* SharedEncoder = "GXE500";

// Every stream of the process that has been set once.
void RememberSetStream(const SVideoStreamId& id) {
    static std::mutex mutex;
    static std::map<SVideoStreamId, int> setStreams; // guarded by mutex
    const std::lock_guard<std::mutex> guard(mutex);
    setStreams.emplace(id, 1);
}

// What a channel's MJPEG stream is set to.
std::string JpegQuery(int channel, const SVornVidValsInDb& camera) {
    return NameForChannel(MjpegResolutionParameter, channel) + "=" + camera.resolution.str() + "&" +
           NameForChannel(MjpegQualityParameter, channel) + "=" + camera.quality.str() + "&" +
           NameForChannel(MjpegFrameRateParameter, channel) + "=" + camera.frameRate.str();
}

void SetIf(CString& field, const COptional<std::string>& value) {
    if (value)
        field = *value;
}

bool Differs(const CString& recorder, const CString& camera) {
    return !camera.empty() && recorder != camera;
}

} // namespace

CError CPanasonicCamera::getVideoCodecParameters(SVideoStreamId id, SVornVidValsInDb& camera) {
    camera = {};
    const SStreamKeys keys = KeysOfStream(id);
    if (!setting || keys.resolution.empty())
        return errors::NoSettings();
    const auto read = [this](const std::string& key, CString& field) {
        if (!key.empty())
            field = cameraSetting(key);
    };
    read(keys.frameRate, camera.frameRate);
    read(keys.resolution, camera.resolution);
    read(keys.quality, camera.quality);
    read(keys.keyFrameInterval, camera.keyFrameInterval);
    read(keys.bitRate, camera.bitRate);
    return CError::Success();
}

void CPanasonicCamera::convertVideoCodecToCamera(const SVideoStreamId& id, const SVornVidValsInDb& recorder,
                                                 SVornVidValsInDb& camera) {
    if (!recorder.frameRate.empty())
        camera.frameRate = recorder.frameRate;
    if (!recorder.resolution.empty())
        SetIf(camera.resolution, ResolutionWidth(recorder.resolution.str()));
    if (!recorder.quality.empty())
        SetIf(camera.quality, CameraQuality(id.codec, recorder.quality.str()));
    if (!recorder.keyFrameInterval.empty())
        SetIf(camera.keyFrameInterval,
              KeyFrameSeconds(recorder.keyFrameInterval.str(), recorder.frameRate.str()));
    if (!recorder.bitRate.empty())
        camera.bitRate = recorder.bitRate;
    if (!recorder.bitRateControl.empty())
        camera.bitRateControl = recorder.bitRateControl;
}

void CPanasonicCamera::convertVideoCodecToNvr(const SVideoStreamId& id, const SVornVidValsInDb& camera,
                                              SVornVidValsInDb& recorder) {
    if (!camera.frameRate.empty())
        recorder.frameRate = camera.frameRate;
    if (!camera.resolution.empty())
        SetIf(recorder.resolution, recorderResolution(id, camera.resolution.str()));
    if (!camera.quality.empty())
        SetIf(recorder.quality, RecorderQuality(id.codec, camera.quality.str()));
    if (!camera.keyFrameInterval.empty())
        SetIf(recorder.keyFrameInterval,
              KeyFrameFrames(camera.keyFrameInterval.str(), camera.frameRate.str()));
    if (!camera.bitRate.empty())
        recorder.bitRate = camera.bitRate;
    if (!camera.bitRateControl.empty())
        recorder.bitRateControl = camera.bitRateControl;
}

// The entry of the stream's resolution range that a width stands for.
COptional<std::string> CPanasonicCamera::recorderResolution(const SVideoStreamId& id,
                                                            const std::string& width) {
    std::vector<CString> range;
    CVAPI_VALUE_TYPE type{};
    getVideoCodecResolutionRange(id.channel, id.stream, id.codec, range, type);
    for (const CString& entry : range)
        if (entry.str().find(width) != std::string::npos)
            return entry.str();
    deviceContext()->log(LogFailure, "%s Can't find the camera res value[%s] in resolution list",
                         "convertVideoCodecToNvr", width.c_str());
    if (range.empty())
        return {};
    return range.back().str();
}

bool CPanasonicCamera::isSameVideoCodecParameters(SVideoStreamId id, const SVornVidValsInDb& recorder,
                                                  const SVornVidValsInDb& camera) {
    SVornVidValsInDb wanted;
    convertVideoCodecToCamera(id, recorder, wanted);
    return !Differs(wanted.quality, camera.quality) && !Differs(wanted.resolution, camera.resolution) &&
           !Differs(wanted.keyFrameInterval, camera.keyFrameInterval) &&
           !Differs(wanted.frameRate, camera.frameRate) && !Differs(wanted.bitRate, camera.bitRate);
}

CError CPanasonicCamera::setVideoCodecToCamera(int channel, int stream, VideoCodec codec,
                                               const SVornVidValsInDb& recorder) {
    if (!setting)
        return errors::NoSettings();
    const SVideoStreamId id{channel, codec, stream};
    SVornVidValsInDb camera;
    convertVideoCodecToCamera(id, recorder, camera);
    std::string path = cgi::SetJpeg;
    std::string query;
    if (codec == VideoCodec::Mjpeg) {
        query = JpegQuery(channel, camera);
    } else {
        const SCodedStream* row = FindCodedStream(codec, stream);
        if (!row)
            return errors::NoSettings();
        if (codec == VideoCodec::Mpeg4 && stream != FirstStream && stream != SecondStream)
            return CError::Success();
        path = row->setPath;
        query = codedQuery(id, camera);
    }
    RememberSetStream(id);
    return setting->SetCameraSetting(path, query);
}

// What an MPEG-4 or H.264 stream is set to. The frame rate needs no conversion.
std::string CPanasonicCamera::codedQuery(SVideoStreamId id, const SVornVidValsInDb& camera) {
    const SCodedFamily& family = *FindCodedFamily(id.codec);
    std::string query;
    if (GetH264Mpeg4TransmissionMode(id) != 0)
        query = std::string(family.transmitOn) + "&";
    const std::string frameRate = "nr_framerate=" + camera.frameRate.str();
    if (id.codec == VideoCodec::H264)
        query += frameRate + "&";
    const std::string prefix = nrH264Mode ? "nr_" : "";
    query += prefix + family.resolution + "=" + camera.resolution.str() + "&" + prefix +
             family.keyFrameInterval + "=" + camera.keyFrameInterval.str();
    if (id.codec != VideoCodec::Mpeg4)
        return query;
    if (!cameraSetting(key::StreamMode).empty())
        return query + "&" + frameRate;
    // A camera without a family switch takes the frame rate in a request of its own, before the others.
    setting->SetCameraSettingNoReload(cgi::Setdata, "NRFRAMERATE=" + camera.frameRate.str());
    return query;
}

CError CPanasonicCamera::syncVideoCodecProperties(SVornVidValsInDb& recorder, SVideoStreamId id) {
    SetupStreamTransmition(id);
    SVornVidValsInDb camera;
    if (CError error = getVideoCodecParameters(id, camera))
        return error;
    if (isSameVideoCodecParameters(id, recorder, camera))
        return CError::Success();
    if (CError error = setVideoCodecToCamera(id.channel, id.stream, id.codec, recorder))
        return error;
    if (!getVideoCodecParameters(id, camera))
        convertVideoCodecToNvr(id, camera, recorder);
    if (setting)
        setting->ReloadSetting();
    return errors::NeedWriteBack();
}

CError CPanasonicCamera::setVideoCodecBitRate(int channel, int stream, VideoCodec codec, CString value) {
    if (CError error = CVornCamera::setVideoCodecBitRate(channel, stream, codec, value))
        return error;
    std::vector<CString> range;
    CVAPI_VALUE_TYPE type{};
    if (getVideoCodecBitRateRange(channel, stream, codec, range, type) ||
        std::find(range.begin(), range.end(), value) == range.end())
        return errors::BitRateOutOfRange();
    return checkVideoCodecSetting(channel, codec, video_property::BitRate, value.str());
}

// The setters that differ only in their property.

CError CPanasonicCamera::setVideoCodecBitRateControl(int channel, int stream, VideoCodec codec,
                                                     CString value) {
    if (CError error = CVornCamera::setVideoCodecBitRateControl(channel, stream, codec, value))
        return error;
    return checkVideoCodecSetting(channel, codec, video_property::BitRateControl, value.str());
}

CError CPanasonicCamera::setVideoCodecKeyFrameInterval(int channel, int stream, VideoCodec codec,
                                                       CString value) {
    if (CError error = CVornCamera::setVideoCodecKeyFrameInterval(channel, stream, codec, value))
        return error;
    return checkVideoCodecSetting(channel, codec, video_property::KeyFrameInterval, value.str());
}

CError CPanasonicCamera::setVideoCodecFrameRate(int channel, int stream, VideoCodec codec, CString value) {
    if (CError error = CVornCamera::setVideoCodecFrameRate(channel, stream, codec, value))
        return error;
    return checkVideoCodecSetting(channel, codec, video_property::FrameRate, value.str());
}

CError CPanasonicCamera::setVideoCodecQuality(int channel, int stream, VideoCodec codec, CString value) {
    if (CError error = CVornCamera::setVideoCodecQuality(channel, stream, codec, value))
        return error;
    return checkVideoCodecSetting(channel, codec, video_property::Quality, value.str());
}

CError CPanasonicCamera::checkVideoCodecSetting(int /*channel*/, VideoCodec codec,
                                                const std::string& property, const std::string& value) {
    if (!FindCodedFamily(codec))
        return CError::Success();
    CString modelNumber;
    if (CError error = getUnitModelName(modelNumber))
        return error;
    if (modelNumber.str().find(SharedEncoder) == std::string::npos)
        return CError::Success();
    for (int stream = FirstStream; stream <= SecondStream; ++stream) {
        const std::string key =
            std::string(FindCodecName(codec)->name) + "_" + std::to_string(stream) + "_video_" + property;
        for (int input = 0; input < model().videoInputs; ++input)
            (void)writeToInputDb(InputClass::Video, input, key, value);
    }
    return CError::Success();
}

} // namespace corvane::panasonic_camera
