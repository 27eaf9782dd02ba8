#include "tools/vornhost/recording/recording_text.h"

#include "site/base/json_line.h"
#include "site/base/terminal_text.h"
#include "tools/vornhost/names.h"

#include <nlohmann/json.hpp>

namespace corvane::vornhost {
namespace {

std::string BytesText(long long bytes) {
    static constexpr const char* Units[] = {"B", "kB", "MB", "GB", "TB"};
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (value >= 1000 && unit + 1 < std::size(Units)) {
        value /= 1000;
        ++unit;
    }
    return Decimals(value, unit == 0 ? 0 : 1) + " " + Units[unit];
}

std::string AmountText(const SRecorded& recorded) {
    return std::to_string(recorded.frames) + (recorded.frames == 1 ? " frame" : " frames") +
           (recorded.bytes > 0 ? ", " + BytesText(recorded.bytes) : "");
}

std::string CodecText(VideoCodec codec) {
    const auto* const name = device_handler::v1_0::FindCodecName(codec);
    return name ? name->name : std::to_string(static_cast<int>(codec));
}

} // namespace

ordered_json RecordedJson(const std::string& file, VideoCodec codec, const SRecorded& recorded) {
    ordered_json json{{"output", file},
                      {"codec", CodecText(codec)},
                      {"resolution", recorded.resolution},
                      {"frames", recorded.frames},
                      {"seconds", ThreeDecimals(recorded.seconds)}};
    if (recorded.bytes > 0) // unknown of a pipe
        json["bytes"] = recorded.bytes;
    if (recorded.sounds > 0)
        json["audio"] = {{"codec", device_handler::v1_0::G726Name}, {"packets", recorded.sounds}};
    return json;
}

std::string RecordedText(const std::string& file, VideoCodec codec, const SRecorded& recorded) {
    if (recorded.frames == 0)
        return "nothing recorded\n";
    return file + ": " + SecondsText(recorded.seconds) + " of " + CodecText(codec) +
           (recorded.resolution.empty() ? "" : " in " + recorded.resolution) +
           (recorded.sounds == 0 ? "" : std::string(" with ") + device_handler::v1_0::G726Name + " sound") +
           ", " + AmountText(recorded) + "\n";
}

ordered_json PictureJson(const std::string& file, VideoCodec codec, const SPicture& picture) {
    return {{"output", file},
            {"codec", CodecText(codec)},
            {"resolution", picture.resolution},
            {"bytes", picture.jpeg.size()}};
}

std::string PictureText(const std::string& file, VideoCodec codec, const SPicture& picture) {
    return file + ": a picture of " + CodecText(codec) + " in " + picture.resolution + ", " +
           BytesText(static_cast<long long>(picture.jpeg.size())) + "\n";
}

CProgressLine::CProgressLine(std::optional<double> seconds) : seconds_(seconds) {}

CRecording::Progress CProgressLine::writer() {
    if (!line_.isShown())
        return {};
    return [this](const SRecorded& recorded) { show(recorded); };
}

void CProgressLine::show(const SRecorded& recorded) {
    const double rate =
        recorded.seconds > 0 ? static_cast<double>(recorded.bytes) * 8 / 1000 / recorded.seconds : 0;
    line_.show(SecondsText(recorded.seconds) + (seconds_ ? " of " + SecondsText(*seconds_) : "") + ", " +
               AmountText(recorded) + ", " + Decimals(rate, 0) + " kbit/s");
}

} // namespace corvane::vornhost
