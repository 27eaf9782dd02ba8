// The values that each video setting may take, its default, and the frame rate that the camera runs.

#include "camera/errors.h"
#include "camera/numbers.h"
#include "camera/panasonic_camera.h"
#include "camera/stream_tables.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace corvane::panasonic_camera {

using device_handler::v1_0::FindCodecName;
using device_handler::v1_0::SVideoCodecName;

namespace {

constexpr std::size_t SkippedBandwidths = 2;     // the first entries are never offered
constexpr std::size_t DefaultBandwidthIndex = 6; // of the range, where it has that many

struct SQualityRange {
    VideoCodec codec;
    const char* values[3]; // minimum, maximum, step
    const char* standard;  // where the model gives no default
};

constexpr SQualityRange MjpegQuality = {VideoCodec::Mjpeg, {"10", "100", "10"}, "80"};
constexpr SQualityRange Mpeg4Quality = {VideoCodec::Mpeg4, {"0", "100", "50"}, "50"};

constexpr const char* MjpegBitRate = "500";

// The properties of a codec, in the order in which the recorder shows them.
constexpr const char* CodecProperties[] = {
    "VideoCodecProperties", "VideoCodecCount",
    "VideoCodecList",       "VideoCodecId",
    "VideoCodecName",       "VideoCodecMime",
    "VideoCodecMaxStreams", "VideoCodecStreams",
    "VideoCodecResolution", "VideoCodecResolutionList",
    "VideoCodecBitRate",    "VideoCodecQuality",
    "VideoCodecFrameRate",  "VideoCodecKeyFrameInterval",
};

bool IsWhole(double value) {
    return std::floor(value) == value;
}

void Append(std::vector<CString>& range, std::vector<std::string>&& entries) {
    range.insert(range.end(), std::make_move_iterator(entries.begin()),
                 std::make_move_iterator(entries.end()));
}

// The configured default of a codec, or an empty text.
std::string ConfiguredDefault(const std::map<std::string, std::string>& defaults, VideoCodec codec) {
    const SVideoCodecName* name = FindCodecName(codec);
    const auto found = name ? defaults.find(name->name) : defaults.end();
    return found == defaults.end() ? std::string() : found->second;
}

} // namespace

CError CPanasonicCamera::getVideoCodecProperties(int /*channel*/, std::vector<CString>& names) {
    names.insert(names.end(), std::begin(CodecProperties), std::end(CodecProperties));
    return CError::Success();
}

// The image mode that ranges are filtered by; none on a camera without image modes.
CError CPanasonicCamera::rangeMode(std::string& mode) {
    if (!capabilityOrNone().IsImageModeSupported()) {
        mode.clear();
        return CError::Success();
    }
    mode = GetImageMode();
    return mode.empty() ? errors::DeviceNotAccessible() : CError::Success();
}

CError CPanasonicCamera::getVideoCodecResolutionRange(int /*channel*/, int stream, VideoCodec codec,
                                                      std::vector<CString>& range, CVAPI_VALUE_TYPE& type) {
    std::string mode;
    if (CError error = rangeMode(mode))
        return error;
    std::vector<std::string> resolutions = capabilityOrNone().getResolutionForCodec(mode, codec, stream);
    if (resolutions.empty())
        return errors::DeviceNotAccessible();
    Append(range, std::move(resolutions));
    type = CVAPI_VALUE_TYPE::List;
    return CError::Success();
}

CError CPanasonicCamera::getVideoCodecBitRateRange(int /*channel*/, int /*stream*/, VideoCodec codec,
                                                   std::vector<CString>& range, CVAPI_VALUE_TYPE& type) {
    if (codec == VideoCodec::H264)
        return errors::BitRateNotSupported();
    if (codec != VideoCodec::Mpeg4)
        return CError::Success();
    type = CVAPI_VALUE_TYPE::List;
    std::vector<std::string> bandwidths = capabilityOrNone().getVideoCodecBandwidth(codec);
    bandwidths.erase(bandwidths.begin(), bandwidths.begin() + static_cast<std::ptrdiff_t>(std::min(
                                                                  bandwidths.size(), SkippedBandwidths)));
    Append(range, std::move(bandwidths));
    return CError::Success();
}

CError CPanasonicCamera::getVideoCodecQualityRange(int /*channel*/, int /*stream*/, VideoCodec codec,
                                                   std::vector<CString>& range, CVAPI_VALUE_TYPE& type) {
    if (codec == VideoCodec::H264)
        return errors::QualityNotSupported();
    type = CVAPI_VALUE_TYPE::MinimumMaximumStep;
    const SQualityRange& quality = codec == VideoCodec::Mpeg4 ? Mpeg4Quality : MjpegQuality;
    range.insert(range.end(), std::begin(quality.values), std::end(quality.values));
    return CError::Success();
}

// The capability's frame rates and the highest one in the mode, as text.
CError CPanasonicCamera::frameRateLimits(int stream, VideoCodec codec, const std::string& mode,
                                         std::vector<std::string>& rates, std::string& max) {
    const CPanasonicCapability& can = capabilityOrNone();
    max = can.getMaxFrameRate(codec, stream, mode);
    switch (codec) {
    case VideoCodec::H264:
        rates = can.getVideoCodecFrameRate(codec, stream);
        return CError::Success();
    case VideoCodec::Mjpeg:
        rates = can.getVideoCodecFrameRate(codec, stream);
        return max.empty() ? errors::DeviceAccessFailed() : CError::Success();
    case VideoCodec::Mpeg4:
        if (!cameraSetting(key::StreamMode).empty()) {
            rates = can.getVideoCodecFrameRate(codec, stream);
        } else {
            // A camera without a family switch runs MPEG-4 at the MJPEG rates, but for two of them.
            rates = can.getVideoCodecFrameRate(VideoCodec::Mjpeg, stream);
            rates.erase(std::remove_if(rates.begin(), rates.end(),
                                       [](const std::string& rate) { return rate == "2" || rate == "6"; }),
                        rates.end());
        }
        return max.empty() ? errors::Mpeg4NotInMode() : CError::Success();
    }
    return errors::WrongCodec();
}

CError CPanasonicCamera::getVideoCodecFrameRateRange(int /*channel*/, int stream, VideoCodec codec,
                                                     std::vector<CString>& range, CVAPI_VALUE_TYPE& type) {
    std::string mode;
    if (CError error = rangeMode(mode))
        return error;
    std::vector<std::string> rates;
    std::string max;
    if (CError error = frameRateLimits(stream, codec, mode, rates, max))
        return error;
    const int maxFps = ReadNumber<int>(max);
    for (std::string& entry : rates) {
        const auto rate = ReadListNumber(entry);
        if (rate && IsWhole(*rate) && *rate <= maxFps)
            range.emplace_back(std::move(entry));
    }
    type = CVAPI_VALUE_TYPE::List;
    return CError::Success();
}

CError CPanasonicCamera::getVideoCodecKeyFrameIntervalRange(int /*channel*/, int stream, VideoCodec codec,
                                                            std::vector<CString>& range,
                                                            CVAPI_VALUE_TYPE& type,
                                                            const std::string& frameRate) {
    type = CVAPI_VALUE_TYPE::List;
    const auto fps = ParseNumber<double>(frameRate);
    if (!fps)
        return CError::Success();
    for (const std::string& entry : capabilityOrNone().getVideoCodecIInterval(codec, stream)) {
        const auto seconds = ReadListNumber(entry);
        if (seconds && IsWhole(*seconds) && std::isfinite(*fps * *seconds))
            range.emplace_back(NumberText(*fps * *seconds));
    }
    return CError::Success();
}

CError CPanasonicCamera::getVideoCodecKeyFrameIntervalRange(int channel, int stream, VideoCodec codec,
                                                            std::vector<CString>& range,
                                                            CVAPI_VALUE_TYPE& type) {
    std::string fps;
    if (CError error = getVideoCodecFpsCurrentValue(channel, stream, codec, fps))
        return error;
    return getVideoCodecKeyFrameIntervalRange(channel, stream, codec, range, type, fps);
}

CError CPanasonicCamera::getVideoCodecBitRateControlRange(int /*channel*/, int /*stream*/,
                                                          VideoCodec /*codec*/,
                                                          std::vector<CString>& /*range*/,
                                                          CVAPI_VALUE_TYPE& /*type*/) {
    return errors::BitRateControlNotSupported();
}

CError CPanasonicCamera::getVideoCodecResolutionList(int channel, VideoCodec codec,
                                                     std::vector<CString>& list) {
    CVAPI_VALUE_TYPE type{};
    return getVideoCodecResolutionRange(channel, FirstStream, codec, list, type);
}

namespace {

// The last entry of a range: its widest or fastest.
CError LastOf(const CError& rangeError, const std::vector<CString>& range, std::string& value) {
    if (rangeError)
        return rangeError;
    if (range.empty())
        return errors::DeviceAccessFailed();
    value = range.back().str();
    return CError::Success();
}

} // namespace

CError CPanasonicCamera::getVideoCodecResolutionDefault(int channel, int stream, VideoCodec codec,
                                                        std::string& value) {
    std::vector<CString> range;
    CVAPI_VALUE_TYPE type{};
    const CError error = getVideoCodecResolutionRange(channel, stream, codec, range, type);
    return LastOf(error, range, value);
}

CError CPanasonicCamera::getVideoCodecFrameRateDefault(int channel, int stream, VideoCodec codec,
                                                       std::string& value) {
    std::vector<CString> range;
    CVAPI_VALUE_TYPE type{};
    const CError error = getVideoCodecFrameRateRange(channel, stream, codec, range, type);
    return LastOf(error, range, value);
}

CError CPanasonicCamera::getVideoCodecQualityDefault(int /*channel*/, int /*stream*/, VideoCodec codec,
                                                     std::string& value) {
    value = ConfiguredDefault(model().defaultQuality, codec);
    if (value.empty())
        value = codec == VideoCodec::Mjpeg ? MjpegQuality.standard : Mpeg4Quality.standard;
    return CError::Success();
}

CError CPanasonicCamera::getVideoCodecBitRateDefault(int channel, int stream, VideoCodec codec,
                                                     std::string& value) {
    if (codec == VideoCodec::Mjpeg) {
        value = MjpegBitRate;
        return CError::Success();
    }
    const std::string configured = ConfiguredDefault(model().defaultBitRate, codec);
    if (!configured.empty()) {
        value = configured;
        return CError::Success();
    }
    std::vector<CString> range;
    CVAPI_VALUE_TYPE type{};
    const CError error = getVideoCodecBitRateRange(channel, stream, codec, range, type);
    if (!error && range.size() > DefaultBandwidthIndex)
        range.resize(DefaultBandwidthIndex + 1);
    return LastOf(error, range, value);
}

CError CPanasonicCamera::getVideoCodecKeyFrameIntervalDefault(int channel, int stream, VideoCodec codec,
                                                              std::string& value) {
    std::string fps;
    if (getVideoCodecFrameRateDefault(channel, stream, codec, fps))
        return errors::DeviceAccessFailed();
    std::vector<CString> range;
    CVAPI_VALUE_TYPE type{};
    getVideoCodecKeyFrameIntervalRange(channel, stream, codec, range, type, fps);
    if (range.empty())
        return errors::DeviceAccessFailed();
    value = range.front().str();
    return CError::Success();
}

CError CPanasonicCamera::getVideoCodecBitRateControlDefault(int /*channel*/, int /*stream*/,
                                                            VideoCodec /*codec*/, std::string& /*value*/) {
    return errors::BitRateControlNotSupported();
}

CError CPanasonicCamera::getVideoCodecFpsCurrentValue(int channel, int stream, VideoCodec codec,
                                                      std::string& fps) {
    // Codecs that nobody knows are asked for as H.264.
    const VideoCodec asked =
        codec == VideoCodec::Mjpeg || codec == VideoCodec::Mpeg4 ? codec : VideoCodec::H264;
    const std::string current = cameraSetting(KeysOfStream({channel, asked, stream}).frameRate);
    if (current.empty())
        return errors::DeviceAccessFailed();
    fps = current;
    return CError::Success();
}

} // namespace corvane::panasonic_camera
