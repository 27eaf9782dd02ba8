#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/calls/answer_text.h"
#include "site/calls/call.h"
#include "site/report/measured.h"
#include "site/report/stream_fields.h"
#include "site/session/device_session.h"
#include "site/stream_name.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/console/waiting_line.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/verbs/device_verb.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <utility>

namespace corvane::vornhost {
namespace {

// Reads the recorder's value of a field, in the order of StreamFields().
constexpr CError (CVornCamera::*Stored[])(int, int, VideoCodec, CString&) = {
    &CVornCamera::getVideoCodecFrameRate, &CVornCamera::getVideoCodecResolution,
    &CVornCamera::getVideoCodecQuality,   &CVornCamera::getVideoCodecKeyFrameInterval,
    &CVornCamera::getVideoCodecBitRate,   &CVornCamera::getVideoCodecBitRateControl,
};

// What a synchronisation found and did. All values are in the recorder's form.
struct SOutcome {
    SVornVidValsInDb record; // as it was asked for
    SVornVidValsInDb before; // what the camera had
    SVornVidValsInDb asked;  // what the camera is asked for, rounded to what it has
    SVornVidValsInDb after;  // the record as it is now; in a dry run what the camera would be asked for
    std::vector<SWatchedExchange> sent;
    Texts notSent; // what is given, and is no setting of this stream at a camera
    bool isDryRun = false;
    CError result = CError::Success();

    bool changed() const { return result.getText() == vorn_camera_base::v1_0::NeedWriteBack; }
    bool isUnreported() const { return before.resolution.empty() && before.frameRate.empty(); }
    bool succeeded() const { return (!result || changed()) && !isUnreported(); }
};

SAnswer AsAnswer(const SVornVidValsInDb& record) {
    SAnswer answer;
    AppendOutput(answer, record);
    return answer;
}

ordered_json RecordJson(const SVornVidValsInDb& record) {
    return Measured(vornhost::RecordJson(AsAnswer(record)));
}

ordered_json OutcomeJson(const std::string& stream, const SOutcome& outcome) {
    ordered_json sent = ordered_json::array();
    for (const SWatchedExchange& exchange : outcome.sent)
        sent.push_back({{"method", exchange.method},
                        {"path", exchange.path},
                        {"body", exchange.body},
                        {"status", exchange.status},
                        {"ms", ThreeDecimals(exchange.milliseconds)}});
    ordered_json json{{"stream", stream},
                      {"record", RecordJson(outcome.record)},
                      {"camera", RecordJson(outcome.before)},
                      {outcome.isDryRun ? "wouldBe" : "recordNow", RecordJson(outcome.after)},
                      {"sent", sent}};
    if (!outcome.notSent.empty())
        json["notSent"] = outcome.notSent;
    json.update(ErrorMembers(outcome.result));
    return json;
}

std::string OutcomeText(const SOutcome& outcome, bool colour) {
    CTable table({"SETTING", "RECORD", "CAMERA HAD", outcome.isDryRun ? "CAMERA WOULD BE" : "RECORD NOW"});
    for (const SStreamField& row : StreamFields()) {
        const std::string values[] = {(outcome.record.*row.field.value).str(),
                                      (outcome.before.*row.field.value).str(),
                                      (outcome.after.*row.field.value).str()};
        if (std::any_of(std::begin(values), std::end(values),
                        [](const auto& value) { return !value.empty(); }))
            table.addRow({row.field.name, values[0], values[1], values[2]});
    }
    std::string text = table.headingLines(colour) + table.rowLines();
    for (const SWatchedExchange& exchange : outcome.sent)
        text += PrintableText("sent  " + exchange.method + " " + exchange.path +
                              (exchange.body.empty() ? "" : " " + exchange.body)) +
                "\n";
    if (!outcome.notSent.empty())
        text +=
            "not sent  " + Join(outcome.notSent, ", ") + ": the camera has no such setting for this codec\n";
    if (outcome.isUnreported())
        return text + "The camera does not report this stream, so that nothing could be compared.\n";
    if (outcome.isDryRun)
        return text + "Nothing was sent.\n";
    if (!outcome.succeeded())
        return text;
    return text + (outcome.changed() ? "The camera was set, and the record holds what it accepted.\n"
                                     : "The camera agreed; nothing had to be set.\n");
}

constexpr const char* StreamSyncHelp =
    R"(Brings the camera to the recorder's record of a stream, and stores in the record what the
camera accepted. Fields that RECORD leaves out are the record's (see --db), else the
defaults.
Fields: frameRate, resolution, quality, keyFrameInterval, bitRate, bitRateControl.
A value outside the camera's own range is refused, and nothing is sent, unless --force is given.
Exit status 1 when the camera then reports another value than it was asked for.
Example: vornhost sync 192.168.0.10 --stream 0,h264,0 'resolution=640x480;frameRate=15')";

class CSync : public CDeviceVerb {
public:
    void declare(CLI::App& command) override {
        CDeviceVerb::declare(command);
        command.add_option("RECORD", record_, "field=value;... for fields that the record is to have");
        command.add_option("--stream", stream_, "CHANNEL,CODEC,STREAM, as in 0,h264,0")
            ->type_name("STREAM")
            ->required();
        command.add_flag("--dry-run", isDryRun_, "Send nothing and show what would be");
        command.add_flag("--force", isForced_, "Ask the camera for values outside its range too");
        command.footer(StreamSyncHelp);
    }

private:
    void checkArguments(const SOptions& /*options*/) override {
        try {
            id_ = site::ReadStreamName(stream_);
            given_ = SArgumentReader::readVideoRecord(record_);
        } catch (const COperationError& expected) {
            throw CFailure(ExitStatus::WrongUsage, std::string("sync: expected ") + expected.what());
        }
    }

    ExitStatus runOn(CDeviceSession& session) override {
        const auto refusal = WhileWaiting("waiting for the camera's settings",
                                          [&] { return isForced_ ? std::nullopt : refused(session); });
        if (refusal) {
            tell(session, session.address() + ": " + stream_, *refusal);
            return ExitStatus::CallFailed;
        }
        SOutcome outcome;
        std::optional<SDiagnosis> problem;
        try {
            WhileWaiting("waiting for the camera to be set", [&] {
                outcome = synchronise(session);
                outcome.notSent = notSettable(session);
                problem = problemOf(session, outcome);
            });
        } catch (const COperationError& error) { // a camera's value that no record can carry
            throw CFailure(ExitStatus::CallFailed, "sync: " + PrintableText(error.what()));
        }
        if (session.options().json) {
            ordered_json json = OutcomeJson(stream_, outcome);
            if (problem)
                json["problem"] = ProblemObject(*problem);
            WriteOutput(JsonLine(json));
        } else {
            WriteOutput(OutcomeText(outcome, ColourWanted()));
        }
        if (problem)
            WriteMessage(problem->lines(session.address() + ": syncVideoCodecProperties"));
        return outcome.succeeded() && !problem ? ExitStatus::Success : ExitStatus::CallFailed;
    }

    // Why nothing is to be sent. What the camera is set to and can do decides what it would be sent.
    std::optional<SDiagnosis> refused(CDeviceSession& session) const {
        CError error = CError::Success();
        (void)cameraRecord(session, error); // waits for the settings
        if (auto unreadable = WhyUnreadable(session.exchanges(), id_.codec))
            return unreadable;
        auto wrong = WrongStreamValue(given_, id_, asking(session));
        if (wrong)
            wrong->advice += "; --force asks the camera for it all the same";
        return wrong;
    }

    std::optional<SDiagnosis> problemOf(CDeviceSession& session, const SOutcome& outcome) const {
        if (outcome.isUnreported()) {
            SDiagnosis unreported;
            unreported.problem = "the camera does not report this stream";
            unreported.request = "the settings of stream " + stream_;
            unreported.reply = "neither a resolution nor a frame rate";
            unreported.advice = "see with `vornhost show` which streams the camera has";
            unreported.cause = "not-reported";
            unreported.phase = "settings";
            return unreported;
        }
        if (outcome.result && !outcome.succeeded())
            return Diagnose(Occasion::Call, outcome.result, session.exchanges());
        return !isDryRun_ && outcome.changed() ? notAccepted(session, outcome) : std::nullopt;
    }

    static AskCamera asking(CDeviceSession& session) {
        return [&session](const std::string& operation, const Texts& arguments) {
            return std::optional(answer(session, operation, arguments));
        };
    }

    // Of what is given. It is kept in the record all the same.
    Texts notSettable(CDeviceSession& session) const {
        Texts names;
        for (const SStreamField& row : StreamFields())
            if (!(given_.*row.field.value).empty() && !RangeOf(row, id_, "", asking(session)).isSettable)
                names.emplace_back(row.field.name);
        return names;
    }

    // The camera is read once more: what it took may not be what it does.
    std::optional<SDiagnosis> notAccepted(CDeviceSession& session, const SOutcome& outcome) const {
        CError error = CError::Success();
        const SVornVidValsInDb now = cameraRecord(session, error);
        const auto unread = session.exchanges().failedSettings();
        if (error || unread) {
            SDiagnosis problem = unread ? DiagnoseExchange(*unread, session.exchanges())
                                        : Diagnose(Occasion::Call, error, session.exchanges());
            problem.phase = "read-back";
            return problem;
        }
        for (const SStreamField& row : StreamFields()) {
            const std::string asked = (outcome.asked.*row.field.value).str();
            const std::string is = (now.*row.field.value).str();
            const bool isGiven = !(given_.*row.field.value).empty();
            // Of a distance in frames the camera makes one of its own few in seconds.
            const bool isRounded = row.field.value == &SVornVidValsInDb::keyFrameInterval && !is.empty();
            if (isGiven && !isRounded && !is.empty() && asked != is)
                return NotAccepted(row.field.name, asked, is);
        }
        return std::nullopt;
    }

    // The record as it is to be: what is given, then what is stored, then the defaults.
    SVornVidValsInDb wanted(CVornCamera& camera) const {
        SVornVidValsInDb record = given_;
        for (std::size_t i = 0; i < StreamFields().size(); ++i)
            if (CString& value = record.*StreamFields()[i].field.value; value.empty())
                (void)(camera.*Stored[i])(id_.channel, id_.stream, id_.codec,
                                          value); // else the field stays unset
        return record;
    }

    SOutcome synchronise(CDeviceSession& session) const {
        SOutcome outcome;
        outcome.isDryRun = isDryRun_;
        outcome.record = wanted(session.camera());
        outcome.before = cameraRecord(session, outcome.result);
        outcome.after = outcome.record;
        if (outcome.result)
            return outcome;
        outcome.asked = wouldBe(session, outcome);
        if (isDryRun_) {
            outcome.after = outcome.asked;
            return outcome;
        }
        // A camera must not be set when its record cannot be kept.
        if ((outcome.result = session.databaseFailure()))
            return outcome;
        (void)session.exchanges().takeFailing(); // what came before the synchronisation
        outcome.result = session.camera().syncVideoCodecProperties(outcome.after, id_);
        outcome.sent = session.exchanges().all();
        outcome.sent.erase(
            std::remove_if(outcome.sent.begin(), outcome.sent.end(),
                           [](const SWatchedExchange& exchange) { return exchange.method != "POST"; }),
            outcome.sent.end());
        if (outcome.changed())
            if (CError error = session.camera().writeVideoStreamRecord(id_, outcome.after))
                outcome.result = error;
        return outcome;
    }

    // What the camera has, in the recorder's form.
    SVornVidValsInDb cameraRecord(CDeviceSession& session, CError& error) const {
        const SAnswer parameters = answer(session, "getVideoCodecParameters", {stream_});
        error = parameters.error.value_or(CError::Success());
        return error ? SVornVidValsInDb() : converted(session, "convertVideoCodecToNvr", parameters);
    }

    // What the camera would be asked for, in the recorder's form; what it has where it would not be asked.
    SVornVidValsInDb wouldBe(CDeviceSession& session, const SOutcome& outcome) const {
        SVornVidValsInDb record = converted(session, "convertVideoCodecToNvr",
                                            answer(session, "convertVideoCodecToCamera",
                                                   {stream_, RecordArgument(AsAnswer(outcome.record))}));
        for (const SVideoField& field : VideoFields)
            if ((record.*field.value).empty())
                record.*field.value = outcome.before.*field.value;
        return record;
    }

    static SAnswer answer(CDeviceSession& session, const std::string& operation, const Texts& arguments) {
        return MakeCall(session.operations(), {operation, arguments}).answer;
    }

    SVornVidValsInDb converted(CDeviceSession& session, const std::string& operation,
                               const SAnswer& from) const {
        return SArgumentReader::readVideoRecord(
            RecordArgument(answer(session, operation, {stream_, RecordArgument(from)})));
    }

    std::string record_;
    std::string stream_;
    bool isDryRun_ = false;
    bool isForced_ = false;
    SVideoStreamId id_{};    // of stream_
    SVornVidValsInDb given_; // of record_
};

} // namespace

std::unique_ptr<IVerb> MakeSyncVerb() {
    return std::make_unique<CSync>();
}

} // namespace corvane::vornhost
