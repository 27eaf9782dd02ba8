// The audio input, and where its stream is played.

#include "camera/cgi_paths.h"
#include "camera/errors.h"
#include "camera/numbers.h"
#include "camera/panasonic_camera.h"
#include "camera/setting_keys.h"

#include "host/log.h"

namespace corvane::panasonic_camera {

using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::LogDetail;
using device_handler::v1_0::UrlOfNoCodec;

namespace {

constexpr int FirstUrl = 0;
constexpr int SecondUrl = 1; // while the first is taken by the video

constexpr const char* DefaultVolume = "1";
constexpr const char* LowestVolume = "0";
constexpr const char* HighestVolume = "2";
constexpr const char* VolumeStep = "1";

// A volume, and what the camera calls it: of its microphone, and of its line input.
struct SVolume {
    const char* recorder;
    const char* camera;
    const char* cameraLine;
};

constexpr SVolume Volumes[] = {
    {"0", "low", "line_low"}, {"1", "middle", "line_middle"}, {"2", "high", "line_high"}};

// The address without the port of the camera's web server, which plays no stream.
std::string HostOf(const std::string& address) {
    const std::size_t bracket = address.rfind(']'); // of an IPv6 address
    return address.substr(0, address.find(':', bracket == std::string::npos ? 0 : bracket));
}

std::string UrlText(const SStreamUrl& location, const CAuthentication& authentication,
                    const std::string& address) {
    std::string url = location.scheme + "://" + authentication.getUsername() + ":" +
                      authentication.getPassword() + "@" + HostOf(address) +
                      (location.port.empty() ? "" : ":") + location.port +
                      (location.path.front() == '/' ? "" : "/") + location.path;
    const char* separator = "?";
    for (const auto& [name, value] : location.parameters) {
        url += separator + name + "=" + value;
        separator = "&";
    }
    return url;
}

} // namespace

bool CPanasonicCamera::hasAudio(int input) {
    return capabilityOrNone().IsAudioSupported(input) && IsH264OrMPEG4Supported();
}

CError CPanasonicCamera::isAudioSupported() {
    return CVornCamera::isAudioSupported();
}

CError CPanasonicCamera::getAudioInputCount(CString& count) {
    return hasAudio(0) ? CVornCamera::getAudioInputCount(count) : errors::AudioNotFound();
}

CError CPanasonicCamera::getAudioInputCodecCount(int input, CString& count) {
    return hasAudio(input) ? CVornCamera::getAudioInputCodecCount(input, count) : errors::AudioNotFound();
}

CError CPanasonicCamera::getAudioInputCodecId(int input, int index, CString& id) {
    return hasAudio(input) ? CVornCamera::getAudioInputCodecId(input, index, id) : errors::AudioNotFound();
}

CError CPanasonicCamera::getAudioInputCodecBitRateRange(int input, SAudioStreamId id,
                                                        std::vector<CString>& range) {
    return hasAudio(input) ? CVornCamera::getAudioInputCodecBitRateRange(input, id, range)
                           : errors::AudioNotFound();
}

CError CPanasonicCamera::getAudioInputCodecQualityRange(int input, SAudioStreamId id,
                                                        std::vector<CString>& range) {
    return hasAudio(input) ? CVornCamera::getAudioInputCodecQualityRange(input, id, range)
                           : errors::AudioNotFound();
}

CError CPanasonicCamera::getAudioInputProperties(int input, std::vector<CString>& names) {
    if (hasAudio(input))
        return CVornCamera::getAudioInputProperties(input, names);
    names.emplace_back("AudioInputProperties");
    return CError::Success();
}

CError CPanasonicCamera::getAudioCodecBitRateDefault(int /*input*/, SAudioStreamId /*id*/,
                                                     std::string& rate) {
    if (model().audioBitRates.empty())
        return errors::PropertyNotSupported();
    rate = model().audioBitRates.begin()->second;
    return CError::Success();
}

CError CPanasonicCamera::setAudioInputCodecBitRate(int input, AudioCodec codec, CString rate) {
    (void)writeSetting(cgi::SetAudio, cgi::AudioBitRate + rate.str());
    invalidateAudioStream({input, codec});
    return CError::Success();
}

CError CPanasonicCamera::setAudioInputVolume(int /*input*/, CString volume) {
    for (const SVolume& row : Volumes)
        if (volume == CString(row.recorder))
            return writeSetting(cgi::SetAudio, std::string(cgi::AudioSensitivity) + row.camera);
    return errors::VolumeNotSupported();
}

CError CPanasonicCamera::getAudioInputVolume(int input, std::vector<CString>& values) {
    if (!hasAudio(input))
        return errors::AudioNotFound();
    const std::string sensitivity = cameraSetting(key::AudioSensitivity);
    if (sensitivity.empty())
        return errors::DeviceNotAccessible();
    for (const SVolume& row : Volumes)
        if (sensitivity == row.camera || sensitivity == row.cameraLine) {
            values.insert(values.end(),
                          {row.recorder, DefaultVolume, LowestVolume, HighestVolume, VolumeStep});
            return CError::Success();
        }
    return errors::VolumeUnrecognized();
}

// Whether the first location is taken by the video, and there is another one.
bool CPanasonicCamera::takesSecondAudioUrl(const SAudioStreamId& id, VideoCodec codec) {
    CString count;
    if (!isActiveVideoStream({id.stream, codec, 0}) || getVideoCodecMaxStreams(id.stream, codec, count))
        return false;
    const auto streams = ParseNumber<int>(count.str());
    return streams && *streams > 1;
}

// Null when the model list has none.
const SStreamUrl* CPanasonicCamera::findAudioUrl(const SAudioStreamId& id, VideoCodec codec) {
    const auto& ofCodec = model().audioUrls.at(model().audioUrlBase + id.stream);
    auto variants = ofCodec.find(FindCodecName(codec)->urlName);
    if (variants == ofCodec.end())
        variants = ofCodec.find(UrlOfNoCodec);
    if (variants == ofCodec.end())
        return nullptr;
    const bool isSecond = variants->second.size() > 1 && takesSecondAudioUrl(id, codec);
    const auto found = variants->second.find(isSecond ? SecondUrl : FirstUrl);
    return found == variants->second.end() || found->second.path.empty() ? nullptr : &found->second;
}

CError CPanasonicCamera::getAudioStreamUrl(SVornAudValsInDb& values, SAudioStreamId id, std::string& url) {
    if (!hasAudio(id.stream))
        return errors::AudioNotFound();
    if (model().audioUrls.count(model().audioUrlBase + id.stream) == 0)
        return errors::PropertyNotSupported();
    const SRunningFamily family = runningFamily();
    if (!family.codec)
        return errors::StreamModeNotDetected();
    const SStreamUrl* const location = findAudioUrl(id, *family.codec);
    if (!location)
        return errors::PropertyNotSupported();
    const CAuthentication authentication = deviceContext()->getAuthentication();
    if (!authentication.isSet())
        return errors::AuthenticationUnavailable();
    url = UrlText(*location, authentication, address());
    deviceContext()->log(LogDetail, "%s stream[%s] audio URL[%s]", __func__, StreamIdText(id).c_str(),
                         url.c_str());

    if (writeSettingNoReload(cgi::SetAudio, cgi::AudioModeOn + values.bitRate.str()))
        return errors::AudioModeFailed();
    const char* const rtspOn = *family.codec == VideoCodec::H264 ? cgi::H264RtspOn : cgi::Mpeg4RtspOn;
    if (writeSettingNoReload(cgi::SetRtsp, rtspOn))
        return errors::AudioRtspModeFailed();
    return CError::Success();
}

} // namespace corvane::panasonic_camera
