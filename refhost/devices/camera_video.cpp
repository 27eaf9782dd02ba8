// The base camera's video: answered from the model list, and from the stream's record in the device database.

#include "refhost/devices/camera_base.h"

#include "host/stream_controller.h"
#include "refhost/streams/rtsp_pipeline.h"
#include "refhost/streams/stream_location.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace corvane::vorn_camera_base::v1_0 {
namespace {

using device_handler::v1_0::FindCodecName;
using device_handler::v1_0::SVideoCodecName;
using device_handler::v1_0::VideoCodecNames;

std::string CodecText(VideoCodec codec) {
    const SVideoCodecName* name = FindCodecName(codec);
    return name ? name->name : "codec " + std::to_string(static_cast<int>(codec));
}

// The model's value for a codec, or null.
template <class Value>
const Value* Find(const std::map<std::string, Value>& byCodec, VideoCodec codec) {
    const SVideoCodecName* name = FindCodecName(codec);
    const auto found = name ? byCodec.find(name->name) : byCodec.end();
    return found == byCodec.end() ? nullptr : &found->second;
}

CError DefaultOf(const SModelInfo& model, CString SVornVidValsInDb::*setting, VideoCodec codec,
                 std::string& value) {
    const std::pair<CString SVornVidValsInDb::*, const std::map<std::string, std::string>&> known[] = {
        {&SVornVidValsInDb::bitRate, model.defaultBitRate},
        {&SVornVidValsInDb::quality, model.defaultQuality}};
    for (const auto& [ofList, defaults] : known)
        if (const std::string* configured = ofList == setting ? Find(defaults, codec) : nullptr) {
            value = *configured;
            return CError::Success();
        }
    return UnknownToBase("the default of this setting");
}

// Where the list says that a stream is, or null.
const SStreamUrl* FindUrl(const SModelInfo& model, const SVideoStreamId& id) {
    const SVideoCodecName* name = FindCodecName(id.codec);
    return name ? refhost::FindStreamUrl(model.videoUrls, id.stream, name->urlName, id.channel) : nullptr;
}

std::string RecordKey(const SVideoStreamId& id, CString SVornVidValsInDb::*setting) {
    const auto* const field =
        std::find_if(std::begin(VideoFields), std::end(VideoFields),
                     [setting](const SVideoField& row) { return row.value == setting; });
    return CodecText(id.codec) + "_" + std::to_string(id.stream) + "_video_" + field->property;
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
    const int* streams = Find(model().codecStreams, codec);
    if (!streams)
        return NotOfModel(RtnCode::NotSupported, CodecText(codec) + " streams");
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

CError CVornCamera::SBase::checkVideoInput(int input) const {
    if (input < 0 || input >= model->videoInputs)
        return NotOfModel(RtnCode::OutOfRange, "video input " + std::to_string(input));
    return CError::Success();
}

CError CVornCamera::SBase::checkVideoStream(const SVideoStreamId& id) const {
    if (CError error = checkVideoInput(id.channel))
        return error;
    const int* streams = Find(model->codecStreams, id.codec);
    if (!streams)
        return NotOfModel(RtnCode::NotSupported, CodecText(id.codec) + " streams");
    if (id.stream < 0 || id.stream >= *streams)
        return NotOfModel(RtnCode::OutOfRange, CodecText(id.codec) + " stream " + std::to_string(id.stream));
    return CError::Success();
}

// A setting's default, its value in the stream's record, and how it gets there.
#define VORN_VIDEO_SETTING(NAME, MEMBER)                                                                     \
    CError CVornCamera::getVideoCodec##NAME##Default(int, int, VideoCodec codec, std::string& value) {       \
        return DefaultOf(model(), &SVornVidValsInDb::MEMBER, codec, value);                                  \
    }                                                                                                        \
    CError CVornCamera::getVideoCodec##NAME(int channel, int stream, VideoCodec codec, CString& value) {     \
        const SVideoStreamId id{channel, codec, stream};                                                     \
        if (CError error = base_->checkVideoStream(id))                                                      \
            return error;                                                                                    \
        CError error =                                                                                       \
            readFromInputDb(InputClass::Video, channel, RecordKey(id, &SVornVidValsInDb::MEMBER), value);    \
        std::string byDefault;                                                                               \
        if (!IsAbsent(error) || (error = getVideoCodec##NAME##Default(channel, stream, codec, byDefault)))   \
            return error;                                                                                    \
        value = byDefault;                                                                                   \
        return error;                                                                                        \
    }                                                                                                        \
    CError CVornCamera::setVideoCodec##NAME(int channel, int stream, VideoCodec codec, CString value) {      \
        const SVideoStreamId id{channel, codec, stream};                                                     \
        if (CError error = base_->checkVideoStream(id))                                                      \
            return error;                                                                                    \
        return value.empty() ? EmptyValue()                                                                  \
                             : writeToInputDb(InputClass::Video, channel,                                    \
                                              RecordKey(id, &SVornVidValsInDb::MEMBER), value);              \
    }
#include "host/video_settings.def"

CError CVornCamera::readVideoStreamRecord(SVideoStreamId id, SVornVidValsInDb& record) {
    if (CError error = base_->checkVideoStream(id))
        return error;
    SVornVidValsInDb kept;
    for (const SVideoField& field : VideoFields)
        if (CError error =
                readFromInputDb(InputClass::Video, id.channel, RecordKey(id, field.value), kept.*field.value);
            error && !IsAbsent(error))
            return error;
    record = kept;
    return CError::Success();
}

CError CVornCamera::writeVideoStreamRecord(SVideoStreamId id, const SVornVidValsInDb& record) {
    if (CError error = base_->checkVideoStream(id))
        return error;
    for (const SVideoField& field : VideoFields)
        if (const CString& value = record.*field.value; !value.empty())
            if (CError error =
                    writeToInputDb(InputClass::Video, id.channel, RecordKey(id, field.value), value))
                return error;
    return CError::Success();
}

CError CVornCamera::syncVideoCodecProperties(SVornVidValsInDb&, SVideoStreamId) {
    return UnknownToBase("synchronisation");
}

CError CVornCamera::getVideoStreamUrl(SVideoStreamId id, std::string& url) {
    const SStreamUrl* location = FindUrl(model(), id);
    if (!location)
        return NotOfModel(RtnCode::NotSupported, "location for this stream");
    url = refhost::StreamLocationWithCredentials(*location, address(), deviceContext()->getAuthentication());
    return CError::Success();
}

CError CVornCamera::createVideoStreamPipeline(IStreamController*& controller, SVideoStreamId id) {
    const SStreamUrl* location = FindUrl(model(), id);
    if (!location)
        return NotOfModel(RtnCode::NotSupported, "location for this stream");
    // The credentials are handed over beside the location, so that no message about it can tell them.
    return refhost::CreateRtspPipeline(
        {refhost::StreamLocation(*location, address()), address(), deviceContext()->getAuthentication()},
        id.codec, base_->useOf(id), controller);
}

std::shared_ptr<const void> CVornCamera::SBase::useOf(const SVideoStreamId& id) {
    const std::lock_guard<std::mutex> lock(usesMutex);
    std::weak_ptr<const void>& kept = uses[id];
    std::shared_ptr<const void> use = kept.lock();
    if (!use)
        kept = use = std::make_shared<int>();
    return use;
}

bool CVornCamera::isActiveVideoStream(SVideoStreamId id) {
    const std::lock_guard<std::mutex> lock(base_->usesMutex);
    const auto found = base_->uses.find(id);
    return found != base_->uses.end() && !found->second.expired();
}

} // namespace corvane::vorn_camera_base::v1_0
