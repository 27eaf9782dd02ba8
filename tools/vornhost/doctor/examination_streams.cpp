// Which streams a camera has switched on, and where its pictures and its sound are.

#include "tools/vornhost/doctor/examination.h"

#include "refhost/streams/stream_location.h"
#include "site/calls/call.h"
#include "site/streams/stream_setting.h"
#include "tools/vornhost/names.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

namespace corvane::vornhost {
namespace {

constexpr const char* FamilyKey = "STREAMMODE"; // which of the two a camera runs that has both
constexpr const char* Mpeg4Family = "0";
constexpr const char* RtspPortKey = "RTSPPORT";
constexpr const char* AudioKey = "AUDIO";

std::optional<double> NumberOf(const std::string& text) {
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    return text.empty() || *end != '\0' ? std::nullopt : std::optional(number);
}

} // namespace

std::vector<CExamination::SStream> CExamination::streams() {
    std::vector<SStream> all;
    const SModelInfo* const model = session_.model();
    if (!model)
        return all;
    const auto add = [&](VideoCodec codec, const char* name, int stream, bool isDelivered) {
        const SVideoStreamId id{0, codec, stream};
        const auto* const codecName = device_handler::v1_0::FindCodecName(codec);
        const auto* const url = refhost::FindStreamUrl(model->videoUrls, stream, codecName->urlName, 0);
        const std::string text = std::string("0,") + name + "," + std::to_string(stream);
        if (url)
            all.push_back({id, text, sourceOf(*url), StreamSettingOf(session_, text), isDelivered});
    };
    const std::string family = setting(FamilyKey);
    const char* firstOff = nullptr;
    for (const auto& row : CodedStreams) {
        const bool isOfFamily = family.empty() || (family == Mpeg4Family) == (row.codec == VideoCodec::Mpeg4);
        for (int stream = 0; stream < 2 && isOfFamily; ++stream) {
            const std::string suffix = stream == 0 ? "" : "_2";
            const std::string transmission = setting(row.transmission + suffix);
            if (transmission == SwitchedOffValue && stream == 0)
                firstOff = row.name;
            if (!transmission.empty() && transmission != SwitchedOffValue)
                add(row.codec, row.name, stream, setting(row.rtsp + suffix) != SwitchedOffValue);
        }
    }
    if (all.empty() && firstOff)
        note(offStream(firstOff));
    // A camera that has no family switch sends MPEG-4 or MJPEG, not both.
    if (!family.empty())
        add(VideoCodec::Mjpeg, "mjpeg", 0, true);
    return all;
}

// A camera makes so many streams at a time, and others watch it too: one that it refuses beside those that
// are taken here is asked for once more when these have ended.
SFinding CExamination::taken(const Check& take) {
    {
        const std::shared_lock<std::shared_mutex> beside(streaming_);
        SFinding finding = take();
        if (!finding.problem || finding.problem->cause != "stream-refused")
            return finding;
    }
    const std::unique_lock<std::shared_mutex> alone(streaming_);
    return take();
}

SFinding CExamination::playedStream(const SStream& stream) {
    return stream.isDelivered
               ? CheckStream(stream.source, stream.id.codec, stream.wish)
               : Faulty(SwitchedOff("the stream is not delivered over RTSP", "of its RTSP mode"));
}

SFinding CExamination::offStream(const std::string& codec) {
    SFinding finding = Faulty(SwitchedOff("the camera transmits no stream", "of the stream's transmission"));
    finding.check = "stream:0," + codec + ",0";
    return finding;
}

// Empty where the camera has no sound, or has it switched off.
CExamination::Check CExamination::audioCheck(const std::vector<SStream>& streams) {
    const SModelInfo* const model = session_.model();
    const auto supported = call("capability.IsAudioSupported", {"0"});
    const std::string mode = setting(AudioKey);
    constexpr const char* InputModes[] = {"in", "inter_half", "inter_full"};
    const bool isOn = std::any_of(std::begin(InputModes), std::end(InputModes),
                                  [&mode](const char* one) { return mode == one; });
    const bool isOfCamera = model && supported && std::holds_alternative<bool>(supported->result) &&
                            std::get<bool>(supported->result);
    if (isOfCamera && mode == "off")
        return [] {
            SDiagnosis off = SwitchedOff("the camera's sound is switched off", AudioKey);
            off.reply = "off";
            off.phase = "audio";
            return Warned(off);
        };
    if (!model || !supported || !std::holds_alternative<bool>(supported->result) ||
        !std::get<bool>(supported->result) || !isOn || streams.empty() || !streams.front().isDelivered)
        return {};
    const SStream& beside = streams.front();
    const auto* const codecName = device_handler::v1_0::FindCodecName(beside.id.codec);
    const auto* const url =
        refhost::FindStreamUrl(model->audioUrls, model->audioUrlBase, codecName->urlName, 0);
    if (!url)
        return {};
    return [pictures = beside.source, codec = beside.id.codec, sound = sourceOf(*url)] {
        return CheckAudio(pictures, codec, sound);
    };
}

int CExamination::inputCount() {
    const auto supported = call("capability.IsDryContactSupported", {});
    const auto count =
        supported && !supported->values.empty() ? NumberOf(supported->values.front()) : std::nullopt;
    return static_cast<int>(count.value_or(0));
}

// At the port that the user says, else at the camera's own.
refhost::SRtspSource CExamination::sourceOf(const device_handler::v1_0::SStreamUrl& url) const {
    device_handler::v1_0::SStreamUrl there = url;
    if (const std::string port = setting(RtspPortKey); !session_.options().rtspPort && !port.empty())
        there.port = port;
    return {refhost::StreamLocation(there, session_.address()), session_.address(),
            session_.authentication()};
}

} // namespace corvane::vornhost
