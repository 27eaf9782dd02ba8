// The base camera's audio: answered from the model list, and from the input's record in the device database.

#include "refhost/devices/camera_base.h"

#include "host/log.h"
#include "refhost/streams/stream_location.h"

namespace corvane::vorn_camera_base::v1_0 {
namespace {

using device_handler::v1_0::LogNotice;

constexpr const char* BitRateKey = "brate";
constexpr const char* VolumeKey = "volume";
constexpr const char* DefaultVolume = "1";
constexpr const char* LowestVolume = "0";
constexpr const char* HighestVolume = "2";
constexpr const char* VolumeStep = "1";
constexpr int FirstVariant = 0;

// Where the list says that a stream is, whatever the video's codec; null when it does not.
const SStreamUrl* FindUrl(const SModelInfo& model, const SAudioStreamId& id) {
    return refhost::FindStreamUrl(model.audioUrls, model.audioUrlBase + id.stream,
                                  device_handler::v1_0::UrlOfNoCodec, FirstVariant);
}

} // namespace

CError CVornCamera::SBase::checkAudioInput(int input) const {
    if (input < 0 || input >= model->audioInputs)
        return NotOfModel(RtnCode::OutOfRange, "audio input " + std::to_string(input));
    return CError::Success();
}

CError CVornCamera::isAudioSupported() {
    return model().audioInputs > 0 ? CError::Success() : NotOfModel(RtnCode::NotSupported, "audio input");
}

CError CVornCamera::getAudioInputCount(CString& count) {
    count = PropertyValue(model().audioInputs);
    return CError::Success();
}

CError CVornCamera::getAudioInputCodecCount(int input, CString& count) {
    if (CError error = base_->checkAudioInput(input))
        return error;
    count = PropertyValue(1);
    return CError::Success();
}

CError CVornCamera::getAudioInputCodecId(int input, int index, CString& id) {
    if (CError error = base_->checkAudioInput(input))
        return error;
    if (index != 0)
        return NotOfModel(RtnCode::OutOfRange, "audio codec of that index");
    id = PropertyValue(static_cast<int>(AudioCodec::G726));
    return CError::Success();
}

CError CVornCamera::getAudioInputCodecBitRateRange(int input, SAudioStreamId, std::vector<CString>& range) {
    if (CError error = base_->checkAudioInput(input))
        return error;
    if (model().audioBitRates.empty())
        return NotOfModel(RtnCode::NotSupported, "audio bit rates");
    for (const auto& [number, rate] : model().audioBitRates)
        range.emplace_back(rate);
    return CError::Success();
}

CError CVornCamera::getAudioInputCodecQualityRange(int input, SAudioStreamId, std::vector<CString>&) {
    if (CError error = base_->checkAudioInput(input))
        return error;
    return NotOfModel(RtnCode::NotSupported, "audio qualities");
}

CError CVornCamera::getAudioInputProperties(int input, std::vector<CString>& names) {
    if (CError error = base_->checkAudioInput(input))
        return error;
    names.insert(names.end(), {"AudioInputProperties", "AudioInputCount", "AudioInputCodecCount",
                               "AudioInputCodecId", "AudioInputCodecBitRate", "AudioInputVolume"});
    return CError::Success();
}

CError CVornCamera::getAudioCodecBitRateDefault(int input, SAudioStreamId, std::string& rate) {
    if (CError error = base_->checkAudioInput(input))
        return error;
    if (model().audioBitRates.empty())
        return NotOfModel(RtnCode::NotSupported, "audio bit rates");
    rate = model().audioBitRates.begin()->second;
    return CError::Success();
}

CError CVornCamera::setAudioInputCodecBitRate(int input, AudioCodec, CString rate) {
    if (CError error = base_->checkAudioInput(input))
        return error;
    return rate.empty() ? EmptyValue() : writeToInputDb(InputClass::Audio, input, BitRateKey, rate);
}

CError CVornCamera::setAudioInputVolume(int input, CString volume) {
    if (CError error = base_->checkAudioInput(input))
        return error;
    if (volume.size() != 1 || volume < CString(LowestVolume) || CString(HighestVolume) < volume)
        return {RtnCode::OutOfRange, Origin::General, "a volume is 0, 1 or 2"};
    return writeToInputDb(InputClass::Audio, input, VolumeKey, volume);
}

CError CVornCamera::getAudioInputVolume(int input, std::vector<CString>& values) {
    if (CError error = base_->checkAudioInput(input))
        return error;
    CString current(DefaultVolume);
    if (CError error = readFromInputDb(InputClass::Audio, input, VolumeKey, current);
        error && !IsAbsent(error))
        return error;
    values.insert(values.end(), {current, DefaultVolume, LowestVolume, HighestVolume, VolumeStep});
    return CError::Success();
}

CError CVornCamera::readAudioStreamRecord(SAudioStreamId id, SVornAudValsInDb& record) {
    if (CError error = base_->checkAudioInput(id.stream))
        return error;
    SVornAudValsInDb kept;
    CError error = readFromInputDb(InputClass::Audio, id.stream, BitRateKey, kept.bitRate);
    if (IsAbsent(error)) {
        std::string byDefault;
        error = getAudioCodecBitRateDefault(id.stream, id, byDefault);
        kept.bitRate = byDefault;
    }
    if (!error)
        record = kept;
    return error;
}

CError CVornCamera::getAudioStreamUrl(SVornAudValsInDb&, SAudioStreamId id, std::string& url) {
    if (CError error = base_->checkAudioInput(id.stream))
        return error;
    const SStreamUrl* location = FindUrl(model(), id);
    if (!location)
        return NotOfModel(RtnCode::NotSupported, "location for this audio stream");
    url = refhost::StreamLocationWithCredentials(*location, address(), deviceContext()->getAuthentication());
    return CError::Success();
}

void CVornCamera::invalidateAudioStream(SAudioStreamId id) {
    deviceContext()->log(LogNotice, "audio stream[%s] must be built anew", StreamIdText(id).c_str());
}

} // namespace corvane::vorn_camera_base::v1_0
