#include "model/stream_profile.h"

#include "model/numbers.h"
#include "model/stream_options.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <tuple>

namespace camsim {
namespace {

/// What stands for a codec in paths, capability keys and settings. Settings of the second stream have "_2"
/// behind their key, those of a further input "CH" and its number.
struct CodecNames {
    VideoCodec codec;
    std::string_view title;
    std::string_view path;
    std::string_view capability;
    std::string_view size;
    std::string_view rate;
    /// Empty where the codec has no such setting.
    std::string_view interval;
    std::string_view bandwidth;
    std::string_view transmission;
    std::string_view delivery;
    /// STREAMMODE while the codec's family runs.
    std::string_view family;
    int streams;
};

constexpr CodecNames codecs[] = {
    {VideoCodec::None, "", "audio", "", "", "", "", "", "", "", "", 1},
    {VideoCodec::Mjpeg, "MJPEG", "jpeg", "mjpeg", "LIVESIZE", "LIVEINT", "", "", "", "", "", 1},
    {VideoCodec::Mpeg4, "MPEG-4", "mpeg4", "mpeg4", "MPEGSIZE", "NRFRAMERATE", "RINT", "MPEGBWC", "MPEG",
     "RTSPMODE", "0", 2},
    {VideoCodec::H264, "H.264", "h264", "h264", "H264SIZE", "H264NRFRAMERATE", "H264RINT", "H264BWC", "H264",
     "H264RTSPMODE", "1", 2},
};

const CodecNames& namesOf(VideoCodec codec) {
    return *std::find_if(std::begin(codecs), std::end(codecs),
                         [&](const CodecNames& names) { return names.codec == codec; });
}

constexpr int unlimitedKilobits = 4096; ///< what stands for a bandwidth setting of 0
constexpr int bestJpegPercent = 95;
constexpr int percentPerJpegStep = 7; ///< JPEG quality settings count from 1, the best, to 10

std::string pathOf(const CodecNames& names, int number, int input) {
    std::string path = "/MediaInput/";
    if (input > 0)
        path += "ch_" + std::to_string(input) + "/";
    path += names.path;
    return number == 1 ? path : path + "/stream_" + std::to_string(number);
}

int inputCount(const CameraModel& model) {
    const auto inputs = model.capability.list("video_server.image.number");
    return inputs && !inputs->empty() ? parseNumber<int>(inputs->front()).value_or(1) : 1;
}

CapabilityStream capabilityOf(const VideoStream& stream) {
    return {namesOf(stream.codec).capability, stream.number == 1 ? "" : "-2"};
}

/// MPEG-4 and H.264 have the same settings for every input.
std::string settingKey(const VideoStream& stream, std::string_view key) {
    std::string full(key);
    if (stream.codec == VideoCodec::Mjpeg)
        return stream.input == 0 ? full : full + "CH" + std::to_string(stream.input);
    return stream.number == 1 ? full : full + "_" + std::to_string(stream.number);
}

std::string settingOf(const Camera& camera, const VideoStream& stream, std::string_view key) {
    return camera.setting(settingKey(stream, key)).value_or("");
}

/// The entry that the setting stands for, or the last: capabilities name the highest last.
std::string chosenEntry(const std::vector<std::string>& entries, const std::string& setting,
                        const char* without) {
    if (entries.empty())
        return without;
    return nearestEntry(entries, setting).value_or(entries.back());
}

std::pair<int, int> sizeOf(const std::string& resolution) {
    const std::string_view text(resolution);
    const size_t cross = text.find('x');
    const int width = parseNumber<int>(text.substr(0, cross)).value_or(640);
    const int height = cross == text.npos ? 0 : parseNumber<int>(text.substr(cross + 1)).value_or(0);
    return {width, height > 0 ? height : width * 3 / 4};
}

/// "7.5" is 15/2. Decimals beyond the third do not count.
FrameRate rateOf(const std::string& text) {
    constexpr int parts = 1000;
    const double number = parseNumber<double>(text).value_or(1);
    const int thousandths = static_cast<int>(std::lround(std::clamp(number, 0.01, 120.0) * parts));
    const int common = std::gcd(thousandths, parts);
    return {thousandths / common, parts / common};
}

int framesPerKeyFrame(const std::string& seconds, const FrameRate& rate) {
    const double frames = parseNumber<double>(seconds).value_or(1) * rate.numerator / rate.denominator;
    return std::max(1, static_cast<int>(std::lround(frames)));
}

int kilobits(const std::string& bandwidth) {
    const int set = parseNumber<int>(bandwidth).value_or(0);
    return set > 0 ? set : unlimitedKilobits;
}

int jpegPercent(const std::string& quality) {
    const int step = std::clamp(parseNumber<int>(quality).value_or(1), 1, 10);
    return bestJpegPercent - percentPerJpegStep * (step - 1);
}

bool hasAudioInput(const CameraModel& model) {
    const auto inputs = model.capability.list("video_server.audio.audio_input.number");
    return inputs && !inputs->empty() && parseNumber<int>(inputs->front()).value_or(0) > 0;
}

constexpr int ordinaryAudioKilobits = 32;

/// Of the sound that the camera takes in; 0 when it takes none.
int audioKilobits(const Camera& camera) {
    constexpr std::string_view modesThatTake[] = {"in", "inter_half", "inter_full"};
    const std::string mode = camera.setting("AUDIO").value_or("");
    if (!hasAudioInput(camera.model()) ||
        std::find(std::begin(modesThatTake), std::end(modesThatTake), mode) == std::end(modesThatTake))
        return 0;
    return camera.setting("AUDIOBITRATE") == "16" ? 16 : ordinaryAudioKilobits;
}

bool runsFamily(const Camera& camera, const CodecNames& names) {
    const std::optional<std::string> family = camera.setting("STREAMMODE");
    return !family || *family == names.family;
}

bool deliversSound(const Camera& camera) {
    return audioKilobits(camera) > 0 &&
           std::any_of(std::begin(codecs), std::end(codecs), [&](const CodecNames& names) {
               return !names.delivery.empty() && runsFamily(camera, names) &&
                      camera.setting(std::string(names.delivery)) == "1";
           });
}

std::string describeVideo(const StreamProfile& profile) {
    std::string rate = std::to_string(profile.rate.numerator);
    if (profile.rate.denominator != 1)
        rate += "/" + std::to_string(profile.rate.denominator);
    const std::string text = std::string(namesOf(profile.codec).title) + " " + std::to_string(profile.width) +
                             "x" + std::to_string(profile.height) + ", " + rate + " fps, ";
    if (profile.codec == VideoCodec::Mjpeg)
        return text + "quality " + std::to_string(profile.jpegPercent) + "%";
    return text + "key frame every " + std::to_string(profile.framesPerKeyFrame) + ", " +
           std::to_string(profile.kilobitsPerSecond) + " kbit/s";
}

auto members(const StreamProfile& p) {
    return std::tie(p.codec, p.width, p.height, p.rate, p.framesPerKeyFrame, p.kilobitsPerSecond,
                    p.jpegPercent, p.audioKilobits);
}

} // namespace

bool StreamProfile::operator==(const StreamProfile& other) const {
    return members(*this) == members(other);
}

std::vector<VideoStream> videoStreams(const CameraModel& model) {
    const std::vector<std::string> formats =
        model.capability.list("video_server.image.format").value_or(std::vector<std::string>());
    std::vector<VideoStream> streams;
    for (int input = 0; input < inputCount(model); ++input)
        for (const CodecNames& names : codecs) {
            if (std::find(formats.begin(), formats.end(), names.capability) == formats.end())
                continue;
            for (int number = 1; number <= names.streams; ++number)
                streams.push_back({pathOf(names, number, input), names.codec, number, input});
        }
    if (hasAudioInput(model))
        streams.push_back({pathOf(namesOf(VideoCodec::None), 1, 0), VideoCodec::None, 1, 0});
    return streams;
}

bool isServed(const Camera& camera, const VideoStream& stream) {
    const CodecNames& names = namesOf(stream.codec);
    if (stream.codec == VideoCodec::None)
        return deliversSound(camera);
    if (names.transmission.empty())
        return true;
    return runsFamily(camera, names) && settingOf(camera, stream, names.transmission) == "1" &&
           settingOf(camera, stream, names.delivery) == "1";
}

StreamProfile streamProfile(const Camera& camera, const VideoStream& stream) {
    const CodecNames& names = namesOf(stream.codec);
    const CapabilityStream offered = capabilityOf(stream);
    const auto setting = [&](std::string_view key) { return settingOf(camera, stream, key); };
    StreamProfile profile;
    profile.codec = stream.codec;
    if (stream.codec != VideoCodec::Mjpeg)
        profile.audioKilobits = audioKilobits(camera);
    if (stream.codec == VideoCodec::None)
        return profile;
    std::tie(profile.width, profile.height) =
        sizeOf(chosenEntry(resolutions(camera, offered), setting(names.size), "640x480"));
    profile.rate = rateOf(chosenEntry(frameRates(camera, offered), setting(names.rate), "30"));
    if (stream.codec == VideoCodec::Mjpeg) {
        profile.jpegPercent = jpegPercent(setting("LIVEQUAL"));
        return profile;
    }
    profile.framesPerKeyFrame = framesPerKeyFrame(setting(names.interval), profile.rate);
    profile.kilobitsPerSecond = kilobits(setting(names.bandwidth));
    return profile;
}

std::string describeProfile(const StreamProfile& profile) {
    std::string text = profile.codec == VideoCodec::None ? "" : describeVideo(profile);
    if (profile.audioKilobits > 0)
        text.append(text.empty() ? "" : ", ").append("G.726 ") +=
            std::to_string(profile.audioKilobits) + " kbit/s";
    return text;
}

std::string inputTitle(const Camera& camera, int input) {
    const std::string key = input == 0 ? "CAMTITLE" : "CAMTITLE" + std::to_string(input + 1);
    return camera.setting(key).value_or("");
}

} // namespace camsim
