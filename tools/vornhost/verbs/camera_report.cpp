#include "tools/vornhost/verbs/camera_report.h"

#include "tools/vornhost/invocation.h"
#include "tools/vornhost/terminal_text.h"
#include "tools/vornhost/verbs/camera_settings.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <variant>

namespace corvane::vornhost {
namespace {

using device_handler::v1_0::COperationError;
using device_handler::v1_0::SAnswer;
using device_handler::v1_0::SModelInfo;
using nlohmann::ordered_json;

constexpr struct {
    const char* argument;
    const char* name;
    int bit;     // in getVideoCodecsSupported
    int streams; // with capabilities of their own
} Codecs[] = {
    {"mjpeg", "MJPEG", MjpegBit, 1}, {"mpeg4", "MPEG-4", Mpeg4Bit, 2}, {"h264", "H.264", H264Bit, 2}};

std::string StreamName(const char* codec, int streams, int stream) {
    return codec + (streams == 1 ? "" : " " + std::to_string(stream + 1));
}

// A text or a list of texts as a fact's value; null for an empty one.
ordered_json OrNull(const ordered_json& value) {
    static const ordered_json AnEmptyText = "";
    static const ordered_json OnlyAnEmptyText = ordered_json::array({AnEmptyText});
    return value.empty() || value == AnEmptyText || value == OnlyAnEmptyText ? ordered_json() : value;
}

class CReporter {
public:
    explicit CReporter(CDeviceSession& session) : session_(session) {}

    SCameraReport report() {
        addDevice();
        addCapability();
        addStreamCapability();
        for (SReportSection& section : SettingSections(inputs_, codecBits_, [this](const std::string& key) {
                 return resultText("setting.GetCameraSetting", {key});
             }))
            add(std::move(section));
        collectFailedExchanges("");
        return std::move(report_);
    }

private:
    void addDevice() {
        SReportSection section{"/device", "Device", {}, {}};
        const std::string model = firstValue("getUnitModelName", {});
        const SModelInfo* const known =
            model.empty() ? nullptr : session_.plugin().handler().getModelInfo(model);
        inputs_ = known ? known->videoInputs : 1;
        std::vector<std::string> titles;
        titles.reserve(static_cast<std::size_t>(inputs_));
        for (int input = 0; input < inputs_; ++input)
            titles.push_back(firstValue("getCameraName", {std::to_string(input)}));
        const bool untitled =
            std::all_of(titles.begin(), titles.end(), [](const std::string& title) { return title.empty(); });
        section.facts = {
            {"address", "address", session_.address()},
            {"family", "family", OrNull(session_.familyName())},
            {"model", "model", OrNull(model)},
            {"label", "label", known ? OrNull(known->label) : ordered_json()},
            {"serialNumber", "serial number", OrNull(session_.serialNumber())},
            {"firmware", "firmware", OrNull(firstValue("getUnitFirmwareVersion", {}))},
            {"mac", "MAC address", OrNull(firstValue("getInterfaceMac", {"0"}))},
            {"titles", inputs_ == 1 ? "title" : "titles", untitled ? ordered_json() : ordered_json(titles)},
            {"pluginBuild", "plug-in", session_.plugin().library().buildId()}};
        add(std::move(section));
    }

    void addCapability() {
        const auto codecs = ask("capability.getVideoCodecsSupported", {});
        if (!codecs) // the camera object has not been initialised
            return;
        codecBits_ = codecs->result.index() == 0 ? 0 : std::get<long long>(codecs->result);
        imageMode_ = resultText("GetImageMode", {});
        ordered_json names = ordered_json::array();
        for (const auto& codec : Codecs)
            if (codecBits_ & codec.bit)
                names.push_back(codec.name);
        const std::string alarmInputs = firstValue("capability.IsDryContactSupported", {});
        add({"/capability",
             "What it can do",
             {{"codecs", "codecs", OrNull(names)},
              {"imageModes", "image modes", OrNull(resultTexts("capability.getImageMode", {}))},
              {"imageMode", "image mode now", OrNull(imageMode_)},
              {"alarmInputs", "alarm inputs",
               alarmInputs.empty() ? ordered_json() : ordered_json(std::stoi(alarmInputs))},
              {"terminals", "terminals", number("capability.getDryContactInputCount", {})},
              {"audioInput", "audio input", flag("capability.IsAudioSupported", {"0"})}},
             {}});
    }

    void addStreamCapability() {
        SReportSection section{"/capability/streams", "Streams", {}, {}};
        section.table.columns = {{"stream", "STREAM"},
                                 {"maxFrameRate", "MAX FPS"},
                                 {"frameRates", "FRAMES A SECOND"},
                                 {"keyFrameIntervals", "KEY FRAMES EVERY S"},
                                 {"resolutions", "RESOLUTIONS"}};
        for (const auto& codec : Codecs)
            for (int stream = 0; stream < codec.streams && (codecBits_ & codec.bit); ++stream) {
                const std::vector<std::string> id{codec.argument, std::to_string(stream)};
                section.table.rows.push_back(
                    {StreamName(codec.name, codec.streams, stream),
                     OrNull(resultText("capability.getMaxFrameRate", {id[0], id[1], imageMode_})),
                     OrNull(resultTexts("capability.getVideoCodecFrameRate", id)),
                     OrNull(resultTexts("capability.getVideoCodecIInterval", id)),
                     OrNull(resultTexts("capability.getResolutionForCodec", {imageMode_, id[0], id[1]}))});
            }
        add(std::move(section));
    }

    // Nothing when the operation does not exist or its object is not there.
    std::optional<SAnswer> ask(const std::string& operation, const std::vector<std::string>& arguments) {
        const SCall call{operation, arguments};
        collectFailedExchanges("");
        try {
            const STimedAnswer timed = MakeCall(session_.operations(), call);
            const std::string asked = Join(arguments, " ");
            const std::string told = operation + (asked.empty() ? "" : " ") + asked;
            if (!timed.succeeded())
                note(told, Diagnose(Occasion::Call, *timed.answer.error, session_.exchanges()));
            collectFailedExchanges(told);
            return timed.answer;
        } catch (const COperationError&) {
            return std::nullopt;
        }
    }

    std::string firstValue(const std::string& operation, const std::vector<std::string>& arguments) {
        const auto answer = ask(operation, arguments);
        return answer && !answer->values.empty() ? answer->values.front() : "";
    }
    template <class T>
    std::optional<T> result(const std::string& operation, const std::vector<std::string>& arguments) {
        const auto answer = ask(operation, arguments);
        const T* const value = answer ? std::get_if<T>(&answer->result) : nullptr;
        return value ? std::optional<T>(*value) : std::nullopt;
    }
    std::string resultText(const std::string& operation, const std::vector<std::string>& arguments) {
        return result<std::string>(operation, arguments).value_or("");
    }
    std::vector<std::string> resultTexts(const std::string& operation,
                                         const std::vector<std::string>& arguments) {
        return result<std::vector<std::string>>(operation, arguments).value_or(std::vector<std::string>());
    }
    ordered_json number(const std::string& operation, const std::vector<std::string>& arguments) {
        const auto value = result<long long>(operation, arguments);
        return value ? ordered_json(*value) : ordered_json();
    }
    ordered_json flag(const std::string& operation, const std::vector<std::string>& arguments) {
        const auto value = result<bool>(operation, arguments);
        return value ? ordered_json(*value) : ordered_json();
    }

    // A reading operation may hide that its request failed behind an empty answer.
    void collectFailedExchanges(const std::string& operation) {
        for (const refhost::SHttpExchange& exchange : session_.exchanges().takeFailing())
            note(operation, DiagnoseExchange(exchange));
    }

    // One cause is told once, however many answers lack because of it.
    void note(const std::string& operation, const SDiagnosis& diagnosis) {
        const bool told = std::any_of(report_.problems.begin(), report_.problems.end(),
                                      [&diagnosis](const SReportProblem& problem) {
                                          return problem.diagnosis.problem == diagnosis.problem &&
                                                 problem.diagnosis.request == diagnosis.request;
                                      });
        if (!told)
            report_.problems.push_back({operation, diagnosis});
    }

    void add(SReportSection section) {
        section.facts.erase(std::remove_if(section.facts.begin(), section.facts.end(),
                                           [](const SFact& fact) { return fact.value.is_null(); }),
                            section.facts.end());
        if (!section.facts.empty() || !section.table.rows.empty())
            report_.sections.push_back(std::move(section));
    }

    CDeviceSession& session_;
    SCameraReport report_;
    int inputs_ = 1;
    long long codecBits_ = 0;
    std::string imageMode_;
};

} // namespace

SCameraReport ReportUnstarted(const CDeviceSession& session, const SDiagnosis& failure) {
    SReportSection device{"/device", "Device", {{"address", "address", session.address()}}, {}};
    if (!session.familyName().empty())
        device.facts.push_back({"family", "family", session.familyName()});
    if (!session.serialNumber().empty())
        device.facts.push_back({"serialNumber", "serial number", session.serialNumber()});
    device.facts.push_back({"pluginBuild", "plug-in", session.plugin().library().buildId()});
    return {{device}, {{"", failure}}};
}

SCameraReport ReportCamera(CDeviceSession& session) {
    return CReporter(session).report();
}

} // namespace corvane::vornhost
