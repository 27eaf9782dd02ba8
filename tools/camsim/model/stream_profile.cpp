#include "model/stream_profile.h"

#include "model/numbers.h"
#include "model/stream_options.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <tuple>

namespace camsim {
namespace {

// A codec's names in paths, and its capability and settings keys. A second stream's settings keys end in
// "_2", those of a further input in "CH" and its number.
struct SCodecNames {
    VideoCodec codec;
    std::string_view title;
    std::string_view path;
    std::string_view capability;
    std::string_view size;
    std::string_view rate;
    // Empty where the codec has no such setting.
    std::string_view interval;
    std::string_view bandwidth;
    std::string_view transmission;
    std::string_view delivery;
    // The value of the setting STREAMMODE with which the codec's family runs.
    std::string_view family;
    int streams;
};

constexpr SCodecNames Codecs[] = {
    {VideoCodec::None, "", "audio", "", "", "", "", "", "", "", "", 1},
    {VideoCodec::Mjpeg, "MJPEG", "jpeg", "mjpeg", "LIVESIZE", "LIVEINT", "", "", "", "", "", 1},
    {VideoCodec::Mpeg4, "MPEG-4", "mpeg4", "mpeg4", "MPEGSIZE", "NRFRAMERATE", "RINT", "MPEGBWC", "MPEG",
     "RTSPMODE", "0", 2},
    {VideoCodec::H264, "H.264", "h264", "h264", "H264SIZE", "H264NRFRAMERATE", "H264RINT", "H264BWC", "H264",
     "H264RTSPMODE", "1", 2},
};

const SCodecNames& NamesOf(VideoCodec codec) {
    return *std::find_if(std::begin(Codecs), std::end(Codecs),
                         [&](const SCodecNames& names) { return names.codec == codec; });
}

constexpr int UnlimitedKilobits = 4096; // what stands for a bandwidth setting of 0
constexpr int BestJpegPercent = 95;
constexpr int PercentPerJpegStep = 7; // JPEG quality settings count from 1, the best, to 10

std::string PathOf(const SCodecNames& names, int number, int input) {
    std::string path = "/MediaInput/";
    if (input > 0)
        path += "ch_" + std::to_string(input) + "/";
    path += names.path;
    return number == 1 ? path : path + "/stream_" + std::to_string(number);
}

int InputCount(const SCameraModel& model) {
    const auto inputs = model.capability.list("video_server.image.number");
    return inputs && !inputs->empty() ? ParseNumber<int>(inputs->front()).value_or(1) : 1;
}

SCapabilityStream CapabilityOf(const SVideoStream& stream) {
    return {NamesOf(stream.codec).capability, stream.number == 1 ? "" : "-2"};
}

// MPEG-4 and H.264 have the same settings for every input.
std::string SettingKey(const SVideoStream& stream, std::string_view key) {
    std::string full(key);
    if (stream.codec == VideoCodec::Mjpeg)
        return stream.input == 0 ? full : full + "CH" + std::to_string(stream.input);
    return stream.number == 1 ? full : full + "_" + std::to_string(stream.number);
}

std::string SettingOf(const CCamera& camera, const SVideoStream& stream, std::string_view key) {
    return camera.setting(SettingKey(stream, key)).value_or("");
}

// The entry nearest to the setting; the last, which is the highest, where the setting is no number.
std::string ChosenEntry(const std::vector<std::string>& entries, const std::string& setting,
                        const char* without) {
    if (entries.empty())
        return without;
    return NearestEntry(entries, setting).value_or(entries.back());
}

std::pair<int, int> SizeOf(const std::string& resolution) {
    const std::string_view text(resolution);
    const size_t cross = text.find('x');
    const int width = ParseNumber<int>(text.substr(0, cross)).value_or(640);
    const int height = cross == text.npos ? 0 : ParseNumber<int>(text.substr(cross + 1)).value_or(0);
    return {width, height > 0 ? height : width * 3 / 4};
}

// "7.5" is 15/2. Decimals beyond the third do not count.
SFrameRate RateOf(const std::string& text) {
    constexpr int Parts = 1000;
    const double number = ParseNumber<double>(text).value_or(1);
    const int thousandths = static_cast<int>(std::lround(std::clamp(number, 0.01, 120.0) * Parts));
    const int common = std::gcd(thousandths, Parts);
    return {thousandths / common, Parts / common};
}

int FramesPerKeyFrame(const std::string& seconds, const SFrameRate& rate) {
    const double frames = ParseNumber<double>(seconds).value_or(1) * rate.numerator / rate.denominator;
    return std::max(1, static_cast<int>(std::lround(frames)));
}

int Kilobits(const std::string& bandwidth) {
    const int set = ParseNumber<int>(bandwidth).value_or(0);
    return set > 0 ? set : UnlimitedKilobits;
}

int JpegPercent(const std::string& quality) {
    const int step = std::clamp(ParseNumber<int>(quality).value_or(1), 1, 10);
    return BestJpegPercent - PercentPerJpegStep * (step - 1);
}

bool HasAudioInput(const SCameraModel& model) {
    const auto inputs = model.capability.list("video_server.audio.audio_input.number");
    return inputs && !inputs->empty() && ParseNumber<int>(inputs->front()).value_or(0) > 0;
}

constexpr int OrdinaryAudioKilobits = 32;

// Of the sound that the camera takes in; 0 when it takes none.
int AudioKilobits(const CCamera& camera) {
    constexpr std::string_view ModesThatTake[] = {"in", "inter_half", "inter_full"};
    const std::string mode = camera.setting("AUDIO").value_or("");
    if (!HasAudioInput(camera.model()) ||
        std::find(std::begin(ModesThatTake), std::end(ModesThatTake), mode) == std::end(ModesThatTake))
        return 0;
    return camera.setting("AUDIOBITRATE") == "16" ? 16 : OrdinaryAudioKilobits;
}

bool RunsFamily(const CCamera& camera, const SCodecNames& names) {
    const std::optional<std::string> family = camera.setting("STREAMMODE");
    return !family || *family == names.family;
}

bool DeliversSound(const CCamera& camera) {
    return AudioKilobits(camera) > 0 &&
           std::any_of(std::begin(Codecs), std::end(Codecs), [&](const SCodecNames& names) {
               return !names.delivery.empty() && RunsFamily(camera, names) &&
                      camera.setting(std::string(names.delivery)) == "1";
           });
}

std::string DescribeVideo(const SStreamProfile& profile) {
    std::string rate = std::to_string(profile.rate.numerator);
    if (profile.rate.denominator != 1)
        rate += "/" + std::to_string(profile.rate.denominator);
    const std::string text = std::string(NamesOf(profile.codec).title) + " " + std::to_string(profile.width) +
                             "x" + std::to_string(profile.height) + ", " + rate + " fps, ";
    if (profile.codec == VideoCodec::Mjpeg)
        return text + "quality " + std::to_string(profile.jpegPercent) + "%";
    return text + "key frame every " + std::to_string(profile.framesPerKeyFrame) + ", " +
           std::to_string(profile.kilobitsPerSecond) + " kbit/s";
}

auto Members(const SStreamProfile& p) {
    return std::tie(p.codec, p.width, p.height, p.rate, p.framesPerKeyFrame, p.kilobitsPerSecond,
                    p.jpegPercent, p.audioKilobits);
}

} // namespace

std::optional<VideoCodec> CodecNamed(std::string_view name) {
    for (const SCodecNames& names : Codecs)
        if (names.path == name && names.codec != VideoCodec::None)
            return names.codec;
    return std::nullopt;
}

bool SStreamProfile::operator==(const SStreamProfile& other) const {
    return Members(*this) == Members(other);
}

std::vector<SVideoStream> VideoStreams(const SCameraModel& model) {
    const std::vector<std::string> formats =
        model.capability.list("video_server.image.format").value_or(std::vector<std::string>());
    std::vector<SVideoStream> streams;
    for (int input = 0; input < InputCount(model); ++input)
        for (const SCodecNames& names : Codecs) {
            if (std::find(formats.begin(), formats.end(), names.capability) == formats.end())
                continue;
            for (int number = 1; number <= names.streams; ++number)
                streams.push_back({PathOf(names, number, input), names.codec, number, input});
        }
    if (HasAudioInput(model))
        streams.push_back({PathOf(NamesOf(VideoCodec::None), 1, 0), VideoCodec::None, 1, 0});
    return streams;
}

bool IsServed(const CCamera& camera, const SVideoStream& stream) {
    const SCodecNames& names = NamesOf(stream.codec);
    if (stream.codec == VideoCodec::None)
        return DeliversSound(camera);
    if (names.transmission.empty())
        return true;
    return RunsFamily(camera, names) && SettingOf(camera, stream, names.transmission) == "1" &&
           SettingOf(camera, stream, names.delivery) == "1";
}

SStreamProfile StreamProfile(const CCamera& camera, const SVideoStream& stream) {
    const SCodecNames& names = NamesOf(stream.codec);
    const SCapabilityStream offered = CapabilityOf(stream);
    const auto setting = [&](std::string_view key) { return SettingOf(camera, stream, key); };
    SStreamProfile profile;
    profile.codec = stream.codec;
    if (stream.codec != VideoCodec::Mjpeg)
        profile.audioKilobits = AudioKilobits(camera);
    if (stream.codec == VideoCodec::None)
        return profile;
    std::tie(profile.width, profile.height) =
        SizeOf(ChosenEntry(Resolutions(camera, offered), setting(names.size), "640x480"));
    profile.rate = RateOf(ChosenEntry(FrameRates(camera, offered), setting(names.rate), "30"));
    if (stream.codec == VideoCodec::Mjpeg) {
        profile.jpegPercent = JpegPercent(setting("LIVEQUAL"));
        return profile;
    }
    profile.framesPerKeyFrame = FramesPerKeyFrame(setting(names.interval), profile.rate);
    profile.kilobitsPerSecond = Kilobits(setting(names.bandwidth));
    return profile;
}

std::string DescribeProfile(const SStreamProfile& profile) {
    std::string text = profile.codec == VideoCodec::None ? "" : DescribeVideo(profile);
    if (profile.audioKilobits > 0)
        text.append(text.empty() ? "" : ", ").append("G.726 ") +=
            std::to_string(profile.audioKilobits) + " kbit/s";
    return text;
}

std::string InputTitle(const CCamera& camera, int input) {
    const std::string key = input == 0 ? "CAMTITLE" : "CAMTITLE" + std::to_string(input + 1);
    return camera.setting(key).value_or("");
}

} // namespace camsim
