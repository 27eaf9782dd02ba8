#include "site/report/camera_report.h"

#include "site/base/json_line.h"
#include "site/base/terminal_text.h"
#include "site/calls/call.h"
#include "site/events/alarm_input_levels.h"
#include "site/report/adjustments.h"
#include "site/report/measured.h"
#include "site/report/setting_sections.h"
#include "site/report/stream_fields.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <variant>

namespace corvane::site {
namespace {

constexpr int NotSupported = static_cast<int>(RtnCode::NotSupported);
constexpr const char* FirstAudio = "0,g726"; // stream

// What the recorder can set of a stream.
constexpr struct {
    const char* operation; // behind "getVideoCodec"
    const char* field;     // of the stream's record
    int codecBits;         // of the codecs that have it
} StreamSettings[] = {
    {"Resolution", "resolution", MjpegBit | Mpeg4Bit | H264Bit},
    {"FrameRate", "frameRate", MjpegBit | Mpeg4Bit | H264Bit},
    {"KeyFrameInterval", "keyFrameInterval", Mpeg4Bit | H264Bit},
    {"Quality", "quality", MjpegBit | Mpeg4Bit | H264Bit},
    {"BitRate", "bitRate", MjpegBit | Mpeg4Bit | H264Bit},
};

std::string FieldOf(const SAnswer& answer, const std::string& field) {
    const SAnswer::Record& record = answer.recordOrEmpty();
    const auto found = std::find_if(record.begin(), record.end(),
                                    [&field](const auto& entry) { return entry.first == field; });
    return found == record.end() ? "" : found->second;
}

// A text or a list of texts as a fact's value; null for an empty one.
ordered_json OrNull(const ordered_json& value) {
    static const ordered_json anEmptyText = "";
    static const ordered_json onlyAnEmptyText = ordered_json::array({anEmptyText});
    return value.empty() || value == anEmptyText || value == onlyAnEmptyText ? ordered_json() : value;
}

class CReporter {
public:
    explicit CReporter(CDeviceSession& session) : session_(session) {}

    SCameraReport report() {
        addDevice();
        addCapability();
        addStreams();
        addAudio();
        addAdjustments();
        for (SReportSection& section : SettingSections(inputs_, codecBits_, settingReader()))
            add(std::move(section));
        addAlarmInputs();
        addAnswerTimes();
        collectFailedExchanges("");
        if (const auto missing = DiagnoseMissingSetting(session_.exchanges()))
            note("setting.GetCameraSetting", *missing);
        if (const auto warning = session_.weakerAuthentication())
            report_.problems.push_back({"", *warning});
        return std::move(report_);
    }

private:
    void addDevice() {
        SReportSection section{"/device", "Device", {}, {}};
        const std::string model = firstValue("getUnitModelName", {});
        const SModelInfo* const known = session_.model();
        inputs_ = known ? known->videoInputs : 1;
        Texts titles;
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
        for (const SStreamCodec& codec : StreamCodecs)
            if (codecBits_ & codec.bit)
                names.push_back(codec.name);
        const std::string alarmInputs = firstValue("capability.IsDryContactSupported", {});
        alarmInputs_ = alarmInputs.empty() ? 0 : std::stoi(alarmInputs);
        add({"/capability",
             "What it can do",
             {{"codecs", "codecs", OrNull(names)},
              {"imageModes", "image modes", OrNull(resultTexts("capability.getImageMode", {}))},
              {"imageMode", "image mode now", OrNull(imageMode_)},
              {"alarmInputs", "alarm inputs",
               alarmInputs.empty() ? ordered_json() : ordered_json(alarmInputs_)},
              {"terminals", "terminals", resultJson<long long>("capability.getDryContactInputCount", {})},
              {"audioInput", "audio input", resultJson<bool>("capability.IsAudioSupported", {"0"})}},
             {}});
    }

    // What the recorder can set of each stream: as it is now, by default, and what it may be.
    void addStreams() {
        SReportSection section{"/streams", "Streams", {}, {}};
        section.table.columns = {{"stream", "STREAM"},
                                 {"setting", "SETTING"},
                                 {"current", "NOW"},
                                 {"default", "DEFAULT"},
                                 {"range", "MAY BE"}};
        for (const SStreamCodec& codec : StreamCodecs)
            for (int stream = 0; stream < codec.streams && (codecBits_ & codec.bit); ++stream)
                addStream(section.table, codec, stream);
        add(std::move(section));
    }

    void addStream(SFactTable& table, const SStreamCodec& codec, int stream) {
        const std::string id = "0," + std::string(codec.name) + "," + std::to_string(stream);
        const auto camera = ask("getVideoCodecParameters", {id});
        const auto current =
            camera ? ask("convertVideoCodecToNvr", {id, RecordArgument(*camera)}) : std::nullopt;
        for (const auto& setting : StreamSettings) {
            if (!(setting.codecBits & codec.bit))
                continue;
            const Texts arguments{"0", std::to_string(stream), codec.name};
            const std::string operation = std::string("getVideoCodec") + setting.operation;
            const auto byDefault = askIfSupported(operation + "Default", arguments);
            const auto range = askIfSupported(operation + "Range", arguments);
            std::vector<ordered_json> row{
                id, setting.field,
                current ? Measured(OrNull(FieldOf(*current, setting.field))) : ordered_json(),
                byDefault && !byDefault->values.empty() ? Measured(OrNull(byDefault->values.front()))
                                                        : ordered_json(),
                Measured(CValueRange::of(range).toJson())};
            if (std::any_of(row.begin() + 2, row.end(), [](const auto& value) { return !value.is_null(); }))
                table.rows.push_back(std::move(row));
        }
    }

    // That a camera has no sound, or no video that sound goes with, is no problem.
    void addAudio() {
        if (!result<bool>("capability.IsAudioSupported", {"0"}).value_or(false) ||
            !result<bool>("IsH264OrMPEG4Supported", {}).value_or(false))
            return;
        SReportSection section{"/audio", "Sound, as the recorder sets it", {}, settingsTable()};
        const auto volume = ask("getAudioInputVolume", {"0"});
        const auto rates = askIfSupported("getAudioInputCodecBitRateRange", {"0", FirstAudio});
        const auto rate = askIfSupported("getAudioCodecBitRateDefault", {"0", FirstAudio});
        if (volume && volume->values.size() == 5)
            section.table.rows.push_back(
                {"volume", Measured(volume->values[0]), Measured(volume->values[1]),
                 CValueRange::between(volume->values[2], volume->values[3], volume->values[4]).toJson()});
        if (rates && rate && !rate->values.empty())
            section.table.rows.push_back(
                {"bitRate", Measured(OrNull(resultText("setting.GetCameraSetting", {"AUDIOBITRATE"}))),
                 Measured(rate->values.front()), Measured(rates->values)});
        add(std::move(section));
    }

    void addAdjustments() {
        const SModelInfo* const model = session_.model();
        if (!model)
            return;
        CAdjustments adjustments([this](const std::string& operation,
                                        const Texts& arguments) { return ask(operation, arguments); },
                                 *model, 0);
        (void)adjustments.learn(); // ask() has noted a failure
        SReportSection image{"/image", "Picture, as the recorder sets it", {}, settingsTable()};
        SReportSection lens{"/lens", "Lens, as the recorder sets it", {}, settingsTable()};
        for (const SAdjustmentReading& reading : adjustments.readAll())
            (reading.info->isOfModel ? lens : image)
                .table.rows.push_back(
                    {reading.info->name, CurrentValue(reading), DefaultValue(reading), RangeValue(reading)});
        add(std::move(image));
        add(std::move(lens));
    }

    static SFactTable settingsTable() {
        return {{{"setting", "SETTING"}, {"current", "NOW"}, {"default", "DEFAULT"}, {"range", "MAY BE"}},
                {}};
    }

    void addAlarmInputs() {
        if (alarmInputs_ == 0)
            return;
        collectFailedExchanges("");
        const auto answer = AskAlarmInputLevels(session_, std::chrono::seconds(4));
        const auto* const levels = std::get_if<std::map<int, std::string>>(&answer);
        if (!levels)
            note("setting.CameraHttpGet", std::get<SDiagnosis>(answer));
        else
            collectFailedExchanges("setting.CameraHttpGet");
        (void)session_.exchanges().takeFailing(); // noted
        add(AlarmInputSection(alarmInputs_, levels ? *levels : std::map<int, std::string>(),
                              settingReader()));
    }

    // Of everything that was asked for this report.
    void addAnswerTimes() {
        SReportSection section{"/answerTimes", "Answer times", {}, {}};
        section.table.columns = {{"request", "REQUEST"},
                                 {"requests", "TIMES"},
                                 {"lost", "LOST"},
                                 {"medianMs", "MEDIAN MS"},
                                 {"longestMs", "LONGEST MS"}};
        for (const SAnswerTimes& times : session_.exchanges().answerTimes())
            section.table.rows.push_back({times.request, times.count, times.lost, ThreeDecimals(times.median),
                                          ThreeDecimals(times.longest)});
        add(std::move(section));
    }

    ReadSetting settingReader() {
        return [this](const std::string& key) { return resultText("setting.GetCameraSetting", {key}); };
    }

    // That the camera does not have it is no problem.
    std::optional<SAnswer> askIfSupported(const std::string& operation, const Texts& arguments) {
        return ask(operation, arguments, true);
    }

    // Nothing when the operation does not exist or its object is not there.
    std::optional<SAnswer> ask(const std::string& operation, const Texts& arguments,
                               bool mayBeUnsupported = false) {
        const SCall call{operation, arguments};
        collectFailedExchanges("");
        try {
            const STimedAnswer timed = MakeCall(session_.operations(), call);
            const std::string asked = Join(arguments, " ");
            const std::string told = operation + (asked.empty() ? "" : " ") + asked;
            const bool isUnsupported = timed.answer.error && timed.answer.error->getCode() == NotSupported;
            if (!timed.succeeded() && !(isUnsupported && mayBeUnsupported))
                note(told, Diagnose(Occasion::Call, *timed.answer.error, session_.exchanges()));
            collectFailedExchanges(told);
            return timed.answer;
        } catch (const COperationError&) {
            return std::nullopt;
        }
    }

    std::string firstValue(const std::string& operation, const Texts& arguments) {
        const auto answer = ask(operation, arguments);
        return answer && !answer->values.empty() ? answer->values.front() : "";
    }
    template <class T>
    std::optional<T> result(const std::string& operation, const Texts& arguments) {
        const auto answer = ask(operation, arguments);
        const T* const value = answer ? std::get_if<T>(&answer->result) : nullptr;
        return value ? std::optional<T>(*value) : std::nullopt;
    }
    std::string resultText(const std::string& operation, const Texts& arguments) {
        return result<std::string>(operation, arguments).value_or("");
    }
    Texts resultTexts(const std::string& operation, const Texts& arguments) {
        return result<Texts>(operation, arguments).value_or(Texts());
    }
    // Null where the result is of another type.
    template <class T>
    ordered_json resultJson(const std::string& operation, const Texts& arguments) {
        const auto value = result<T>(operation, arguments);
        return value ? ordered_json(*value) : ordered_json();
    }

    // An operation whose request failed may still succeed, with an empty answer.
    void collectFailedExchanges(const std::string& operation) {
        for (const SWatchedExchange& exchange : session_.exchanges().takeFailing())
            note(operation, DiagnoseExchange(exchange, session_.exchanges()));
    }

    // One cause is told once, however many calls fail because of it. A failure without a request follows from
    // a request that failed before.
    void note(const std::string& operation, const SDiagnosis& diagnosis) {
        const bool told = std::any_of(
            report_.problems.begin(), report_.problems.end(), [&diagnosis](const SReportProblem& problem) {
                return diagnosis.request.empty() || (problem.diagnosis.problem == diagnosis.problem &&
                                                     problem.diagnosis.request == diagnosis.request);
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
    int alarmInputs_ = 0;
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
    SCameraReport report{{device}, {{"", failure}}};
    if (const auto warning = session.weakerAuthentication())
        report.problems.push_back({"", *warning});
    return report;
}

SCameraReport ReportCamera(CDeviceSession& session) {
    return CReporter(session).report();
}

} // namespace corvane::site
