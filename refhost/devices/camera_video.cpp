// The base camera's video: answered from the model list, and from the stream's record in the device database.

#include "host/camera.h"
#include "host/stream_controller.h"
#include "refhost/devices/camera_errors.h"
#include "refhost/streams/rtsp_pipeline.h"
#include "refhost/streams/stream_location.h"

namespace corvane::vorn_camera_base::v1_0 {
namespace {

using device_handler::v1_0::FindCodecName;
using device_handler::v1_0::PropertyValue;
using device_handler::v1_0::RtnCode;
using device_handler::v1_0::SStreamUrl;
using device_handler::v1_0::SVideoCodecName;
using device_handler::v1_0::UrlOfNoCodec;
using device_handler::v1_0::VideoCodecNames;
using refhost::EmptyValue;
using refhost::IsAbsent;
using refhost::NotOfModel;
using refhost::UnknownToBase;

std::string codecText(VideoCodec codec) {
    const SVideoCodecName* name = FindCodecName(codec);
    return name ? name->name : "codec " + std::to_string(static_cast<int>(codec));
}

// The model's value for a codec, or null.
template <class Value>
const Value* find(const std::map<std::string, Value>& byCodec, VideoCodec codec) {
    const SVideoCodecName* name = FindCodecName(codec);
    const auto found = name ? byCodec.find(name->name) : byCodec.end();
    return found == byCodec.end() ? nullptr : &found->second;
}

CError configuredDefault(const std::map<std::string, std::string>& defaults, VideoCodec codec,
                         const char* property, std::string& value) {
    const std::string* configured = find(defaults, codec);
    if (!configured)
        return UnknownToBase(property);
    value = *configured;
    return CError::Success();
}

// Where the list says that a stream is, or null.
const SStreamUrl* findUrl(const SModelInfo& model, const SVideoStreamId& id) {
    const auto stream = model.videoUrls.find(id.stream);
    const SVideoCodecName* name = FindCodecName(id.codec);
    if (stream == model.videoUrls.end() || !name)
        return nullptr;
    auto variants = stream->second.find(name->urlName);
    if (variants == stream->second.end())
        variants = stream->second.find(UrlOfNoCodec);
    if (variants == stream->second.end() || variants->second.empty())
        return nullptr;
    const auto ofInput = variants->second.find(id.channel);
    return ofInput == variants->second.end() ? &variants->second.begin()->second : &ofInput->second;
}

std::string recordKey(const SVideoStreamId& id, const char* property) {
    return codecText(id.codec) + "_" + std::to_string(id.stream) + "_video_" + property;
}

} // namespace

CError CVornCamera::getVideoCodecProperties(int, std::vector<CString>& names) {
    names.insert(names.end(),
                 {"VideoCodecProperties", "VideoCodecCount", "VideoCodecId", "VideoCodecMaxStreams"});
    return CError::Success();
}

CError CVornCamera::getVideoCodecCount(int, CString& count) {
    count = PropertyValue(static_cast<int>(model().codecStreams.size()));
    return CError::Success();
}

CError CVornCamera::getVideoCodecId(int, int index, CString& id) {
    int seen = 0;
    for (const SVideoCodecName& row : VideoCodecNames)
        if (model().codecStreams.count(row.name) != 0 && seen++ == index) {
            id = PropertyValue(static_cast<int>(row.codec));
            return CError::Success();
        }
    return NotOfModel(RtnCode::OutOfRange, "codec of that index");
}

CError CVornCamera::getVideoCodecMaxStreams(int, VideoCodec codec, CString& max) {
    const int* streams = find(model().codecStreams, codec);
    if (!streams)
        return NotOfModel(RtnCode::NotSupported, codecText(codec) + " streams");
    max = PropertyValue(*streams);
    return CError::Success();
}

CError CVornCamera::getCameraMaxStreams(int, CString& max) {
    if (!model().cameraStreams)
        return NotOfModel(RtnCode::NotSupported, "number of camera streams");
    max = PropertyValue(*model().cameraStreams);
    return CError::Success();
}

int CVornCamera::mapVideoStreamToActualCameraStream(SVideoStreamId id, int& cameraStream) {
    cameraStream = id.stream;
    return 1;
}

int CVornCamera::findAssociatedStream(SVideoStreamId id) {
    return id.stream;
}

CError CVornCamera::getVideoCodecResolutionRange(int, int, VideoCodec, std::vector<CString>&,
                                                 CVAPI_VALUE_TYPE&) {
    return UnknownToBase("the resolution range");
}
CError CVornCamera::getVideoCodecBitRateRange(int, int, VideoCodec, std::vector<CString>&,
                                              CVAPI_VALUE_TYPE&) {
    return UnknownToBase("the bit-rate range");
}
CError CVornCamera::getVideoCodecQualityRange(int, int, VideoCodec, std::vector<CString>&,
                                              CVAPI_VALUE_TYPE&) {
    return UnknownToBase("the quality range");
}
CError CVornCamera::getVideoCodecFrameRateRange(int, int, VideoCodec, std::vector<CString>&,
                                                CVAPI_VALUE_TYPE&) {
    return UnknownToBase("the frame-rate range");
}
CError CVornCamera::getVideoCodecKeyFrameIntervalRange(int, int, VideoCodec, std::vector<CString>&,
                                                       CVAPI_VALUE_TYPE&) {
    return UnknownToBase("the key-frame interval range");
}
CError CVornCamera::getVideoCodecBitRateControlRange(int, int, VideoCodec, std::vector<CString>&,
                                                     CVAPI_VALUE_TYPE&) {
    return UnknownToBase("the bit-rate control range");
}
CError CVornCamera::getVideoCodecResolutionList(int, VideoCodec, std::vector<CString>&) {
    return UnknownToBase("the list of resolutions");
}

CError CVornCamera::getVideoCodecResolutionDefault(int, int, VideoCodec, std::string&) {
    return UnknownToBase("the default resolution");
}
CError CVornCamera::getVideoCodecBitRateDefault(int, int, VideoCodec codec, std::string& value) {
    return configuredDefault(model().defaultBitRate, codec, "the default bit rate", value);
}
CError CVornCamera::getVideoCodecQualityDefault(int, int, VideoCodec codec, std::string& value) {
    return configuredDefault(model().defaultQuality, codec, "the default quality", value);
}
CError CVornCamera::getVideoCodecFrameRateDefault(int, int, VideoCodec, std::string&) {
    return UnknownToBase("the default frame rate");
}
CError CVornCamera::getVideoCodecKeyFrameIntervalDefault(int, int, VideoCodec, std::string&) {
    return UnknownToBase("the default key-frame interval");
}
CError CVornCamera::getVideoCodecBitRateControlDefault(int, int, VideoCodec, std::string&) {
    return UnknownToBase("the default bit-rate control");
}

CError CVornCamera::checkVideoInput(int input) const {
    if (input < 0 || input >= model().videoInputs)
        return NotOfModel(RtnCode::OutOfRange, "video input " + std::to_string(input));
    return CError::Success();
}

CError CVornCamera::checkVideoStream(const SVideoStreamId& id) const {
    if (CError error = checkVideoInput(id.channel))
        return error;
    const int* streams = find(model().codecStreams, id.codec);
    if (!streams)
        return NotOfModel(RtnCode::NotSupported, codecText(id.codec) + " streams");
    if (id.stream < 0 || id.stream >= *streams)
        return NotOfModel(RtnCode::OutOfRange, codecText(id.codec) + " stream " + std::to_string(id.stream));
    return CError::Success();
}

CError CVornCamera::readVideoProperty(const SVideoStreamId& id, const char* property, VideoDefault defaultOf,
                                      CString& value) {
    if (CError error = checkVideoStream(id))
        return error;
    if (CError error = readFromInputDb(InputClass::Video, id.channel, recordKey(id, property), value);
        !IsAbsent(error))
        return error;
    std::string byDefault;
    if (CError error = (this->*defaultOf)(id.channel, id.stream, id.codec, byDefault))
        return error;
    value = byDefault;
    return CError::Success();
}

CError CVornCamera::writeVideoProperty(const SVideoStreamId& id, const char* property, const CString& value) {
    if (CError error = checkVideoStream(id))
        return error;
    if (value.empty())
        return EmptyValue();
    return writeToInputDb(InputClass::Video, id.channel, recordKey(id, property), value);
}

CError CVornCamera::getVideoCodecResolution(int channel, int stream, VideoCodec codec, CString& value) {
    return readVideoProperty({channel, codec, stream}, video_property::Resolution,
                             &CVornCamera::getVideoCodecResolutionDefault, value);
}
CError CVornCamera::getVideoCodecBitRate(int channel, int stream, VideoCodec codec, CString& value) {
    return readVideoProperty({channel, codec, stream}, video_property::BitRate,
                             &CVornCamera::getVideoCodecBitRateDefault, value);
}
CError CVornCamera::getVideoCodecQuality(int channel, int stream, VideoCodec codec, CString& value) {
    return readVideoProperty({channel, codec, stream}, video_property::Quality,
                             &CVornCamera::getVideoCodecQualityDefault, value);
}
CError CVornCamera::getVideoCodecFrameRate(int channel, int stream, VideoCodec codec, CString& value) {
    return readVideoProperty({channel, codec, stream}, video_property::FrameRate,
                             &CVornCamera::getVideoCodecFrameRateDefault, value);
}
CError CVornCamera::getVideoCodecKeyFrameInterval(int channel, int stream, VideoCodec codec, CString& value) {
    return readVideoProperty({channel, codec, stream}, video_property::KeyFrameInterval,
                             &CVornCamera::getVideoCodecKeyFrameIntervalDefault, value);
}
CError CVornCamera::getVideoCodecBitRateControl(int channel, int stream, VideoCodec codec, CString& value) {
    return readVideoProperty({channel, codec, stream}, video_property::BitRateControl,
                             &CVornCamera::getVideoCodecBitRateControlDefault, value);
}

CError CVornCamera::setVideoCodecResolution(int channel, int stream, VideoCodec codec, CString value) {
    return writeVideoProperty({channel, codec, stream}, video_property::Resolution, value);
}
CError CVornCamera::setVideoCodecBitRate(int channel, int stream, VideoCodec codec, CString value) {
    return writeVideoProperty({channel, codec, stream}, video_property::BitRate, value);
}
CError CVornCamera::setVideoCodecQuality(int channel, int stream, VideoCodec codec, CString value) {
    return writeVideoProperty({channel, codec, stream}, video_property::Quality, value);
}
CError CVornCamera::setVideoCodecFrameRate(int channel, int stream, VideoCodec codec, CString value) {
    return writeVideoProperty({channel, codec, stream}, video_property::FrameRate, value);
}
CError CVornCamera::setVideoCodecKeyFrameInterval(int channel, int stream, VideoCodec codec, CString value) {
    return writeVideoProperty({channel, codec, stream}, video_property::KeyFrameInterval, value);
}
CError CVornCamera::setVideoCodecBitRateControl(int channel, int stream, VideoCodec codec, CString value) {
    return writeVideoProperty({channel, codec, stream}, video_property::BitRateControl, value);
}

CError CVornCamera::readVideoStreamRecord(SVideoStreamId id, SVornVidValsInDb& record) {
    if (CError error = checkVideoStream(id))
        return error;
    SVornVidValsInDb kept;
    for (const SVideoField& field : VideoFields)
        if (CError error = readFromInputDb(InputClass::Video, id.channel, recordKey(id, field.property),
                                           kept.*field.value);
            error && !IsAbsent(error))
            return error;
    record = kept;
    return CError::Success();
}

CError CVornCamera::writeVideoStreamRecord(SVideoStreamId id, const SVornVidValsInDb& record) {
    for (const SVideoField& field : VideoFields)
        if (const CString& value = record.*field.value; !value.empty())
            if (CError error = writeVideoProperty(id, field.property, value))
                return error;
    return CError::Success();
}

CError CVornCamera::syncVideoCodecProperties(SVornVidValsInDb&, SVideoStreamId) {
    return UnknownToBase("synchronisation");
}

CError CVornCamera::getVideoStreamUrl(SVideoStreamId id, std::string& url) {
    const SStreamUrl* location = findUrl(model(), id);
    if (!location)
        return NotOfModel(RtnCode::NotSupported, "location for this stream");
    url = refhost::StreamLocationWithCredentials(*location, address_, deviceContext_->getAuthentication());
    return CError::Success();
}

CError CVornCamera::createVideoStreamPipeline(IStreamController*& controller, SVideoStreamId id) {
    const SStreamUrl* location = findUrl(model(), id);
    if (!location)
        return NotOfModel(RtnCode::NotSupported, "location for this stream");
    // The credentials are handed over beside the location, so that no message about it can tell them.
    return refhost::CreateRtspPipeline(
        {refhost::StreamLocation(*location, address_), address_, deviceContext_->getAuthentication()},
        id.codec, useOf(id), controller);
}

std::shared_ptr<const void> CVornCamera::useOf(const SVideoStreamId& id) {
    const std::lock_guard<std::mutex> lock(usesMutex_);
    std::weak_ptr<const void>& kept = uses_[id];
    std::shared_ptr<const void> use = kept.lock();
    if (!use)
        kept = use = std::make_shared<int>(); // whose life alone matters
    return use;
}

bool CVornCamera::isActiveVideoStream(SVideoStreamId id) {
    const std::lock_guard<std::mutex> lock(usesMutex_);
    const auto found = uses_.find(id);
    return found != uses_.end() && !found->second.expired();
}

} // namespace corvane::vorn_camera_base::v1_0
