#include "site/streams/stream_setting.h"

#include "site/base/terminal_text.h"
#include "site/calls/call.h"

#include <cstdlib>

namespace corvane::site {
namespace {

constexpr double MostOfRate = 1.5; // some send a few more

constexpr const char* StreamRefused = "stream-refused";

std::optional<double> NumberOf(const std::string& text) {
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    return text.empty() || *end != '\0' ? std::nullopt : std::optional(number);
}

std::optional<SAnswer> Call(const CDeviceSession& session, const std::string& operation,
                            const Texts& arguments) {
    return AnswerIfThere(session.operations(), operation, arguments);
}

std::string Setting(const CDeviceSession& session, const std::string& key) {
    const auto answer = Call(session, "setting.GetCameraSetting", {key});
    const auto* const text = answer ? std::get_if<std::string>(&answer->result) : nullptr;
    return text ? *text : "";
}

} // namespace

SStreamSetting StreamSettingOf(const CDeviceSession& session, const std::string& stream) {
    SStreamSetting wish;
    const auto camera = Call(session, "getVideoCodecParameters", {stream});
    const auto recorder =
        camera ? Call(session, "convertVideoCodecToNvr", {stream, RecordArgument(*camera)}) : std::nullopt;
    if (!recorder)
        return wish;
    for (const auto& [field, value] : recorder->recordOrEmpty()) {
        if (field == "resolution")
            wish.resolution = value;
        if (field == "frameRate")
            wish.frameRate = NumberOf(value);
        if (field == "keyFrameInterval")
            wish.keyFrameInterval = NumberOf(value);
    }
    return wish;
}

SDiagnosis WrongStream(const std::string& problem, const std::string& asked, const std::string& answered) {
    SDiagnosis diagnosis;
    diagnosis.problem = problem;
    diagnosis.request = asked;
    diagnosis.reply = answered;
    diagnosis.advice = "restart the camera, or set the stream anew: its settings are not what it sends";
    diagnosis.cause = "wrong-stream";
    diagnosis.phase = "stream";
    return diagnosis;
}

std::optional<SDiagnosis> DiagnoseWrongStream(const SStreamSeen& seen, const SStreamSetting& wish,
                                              double leastOfRate, const std::string& asked) {
    if (!wish.resolution.empty() && !seen.resolution.empty() && wish.resolution != seen.resolution)
        return WrongStream("the pictures have another resolution than is set", asked,
                           "pictures of " + seen.resolution + ", and the settings say " + wish.resolution);
    const double wanted = wish.frameRate.value_or(0);
    if (wanted > 0 && seen.frameRate > 0 &&
        (seen.frameRate < leastOfRate * wanted || seen.frameRate > MostOfRate * wanted))
        return WrongStream("the frame rate is not what is set", asked,
                           Decimals(seen.frameRate, 1) + " frames a second, and the settings say " +
                               Decimals(wanted, 1));
    return std::nullopt;
}

SDiagnosis SwitchedOff(const std::string& problem, const std::string& setting) {
    SDiagnosis diagnosis;
    diagnosis.problem = problem;
    diagnosis.request = "the setting " + setting;
    diagnosis.reply = SwitchedOffValue;
    diagnosis.advice = "the recorder switches it on when it takes the stream; else do so at the camera";
    diagnosis.cause = "stream-off";
    diagnosis.phase = "stream";
    return diagnosis;
}

SDiagnosis DiagnoseLostStream(const CDeviceSession& session, const SVideoStreamId& id, SDiagnosis known) {
    TellRestart(known, session.address());
    if (known.cause != StreamRefused)
        return known;
    if (auto off = DiagnoseStreamOff(session, id)) {
        off->request = known.request;
        off->reply = known.reply + "; " + off->reply;
        return *off;
    }
    for (const SStreamSwitches& row : CodedStreams)
        if (row.codec == id.codec)
            return DiagnoseMissingSetting(session.exchanges(), row.transmission).value_or(known);
    return known;
}

std::optional<SDiagnosis> DiagnoseStreamOff(const CDeviceSession& session, const SVideoStreamId& id) {
    const std::string second = id.stream == 0 ? "" : "_2";
    for (const SStreamSwitches& row : CodedStreams) {
        if (row.codec != id.codec)
            continue;
        for (const std::string& key : {row.transmission + second, row.rtsp + second})
            if (Setting(session, key) == SwitchedOffValue) {
                SDiagnosis off = SwitchedOff("the camera has the stream switched off", key);
                off.reply = "its setting " + key + " is " + SwitchedOffValue;
                return off;
            }
    }
    return std::nullopt;
}

} // namespace corvane::site
