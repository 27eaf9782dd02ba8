#include "tools/vornhost/calls/answer_text.h"
#include "tools/vornhost/calls/call.h"
#include "tools/vornhost/console/standard_streams.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/console/terminal_text.h"
#include "tools/vornhost/session/device_session.h"
#include "tools/vornhost/verbs/device_verb.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <utility>

namespace corvane::vornhost {
namespace {

// One field of a stream's record: its label, and the operation that reads the recorder's value.
struct SField {
    const SVideoField& field;
    const char* label;
    CError (CVornCamera::*get)(int, int, VideoCodec, CString&);
};

const SField Fields[] = {
    {VideoFields[0], "frames a second", &CVornCamera::getVideoCodecFrameRate},
    {VideoFields[1], "resolution", &CVornCamera::getVideoCodecResolution},
    {VideoFields[2], "quality", &CVornCamera::getVideoCodecQuality},
    {VideoFields[3], "frames to a key frame", &CVornCamera::getVideoCodecKeyFrameInterval},
    {VideoFields[4], "bit rate", &CVornCamera::getVideoCodecBitRate},
    {VideoFields[5], "bit-rate control", &CVornCamera::getVideoCodecBitRateControl},
};

// What a synchronisation found and did. All values are in the recorder's form.
struct SOutcome {
    SVornVidValsInDb record; // as it was asked for
    SVornVidValsInDb before; // what the camera had
    SVornVidValsInDb after;  // the record as it is now; in a dry run what the camera would be asked for
    std::vector<SHttpExchange> sent;
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
    return vornhost::RecordJson(AsAnswer(record));
}

ordered_json OutcomeJson(const std::string& stream, const SOutcome& outcome) {
    ordered_json sent = ordered_json::array();
    for (const SHttpExchange& exchange : outcome.sent)
        sent.push_back({{"method", exchange.method},
                        {"path", exchange.path},
                        {"body", exchange.body},
                        {"status", exchange.status}});
    ordered_json json{{"stream", stream},
                      {"record", RecordJson(outcome.record)},
                      {"camera", RecordJson(outcome.before)},
                      {outcome.isDryRun ? "wouldBe" : "recordNow", RecordJson(outcome.after)},
                      {"sent", sent}};
    json.update(ErrorMembers(outcome.result));
    return json;
}

std::string OutcomeText(const SOutcome& outcome, bool colour) {
    CTable table({"SETTING", "RECORD", "CAMERA HAD", outcome.isDryRun ? "CAMERA WOULD BE" : "RECORD NOW"});
    for (const SField& row : Fields) {
        const std::string values[] = {(outcome.record.*row.field.value).str(),
                                      (outcome.before.*row.field.value).str(),
                                      (outcome.after.*row.field.value).str()};
        if (std::any_of(std::begin(values), std::end(values),
                        [](const auto& value) { return !value.empty(); }))
            table.addRow({row.label, values[0], values[1], values[2]});
    }
    std::string text = table.headingLines(colour) + table.rowLines();
    for (const SHttpExchange& exchange : outcome.sent)
        text += PrintableText("sent  " + exchange.method + " " + exchange.path +
                              (exchange.body.empty() ? "" : " " + exchange.body)) +
                "\n";
    if (outcome.isUnreported())
        return text + "The camera does not report this stream, so that nothing could be compared.\n";
    if (outcome.isDryRun)
        return text + "Nothing was sent.\n";
    if (!outcome.succeeded())
        return text;
    return text + (outcome.changed() ? "The camera was set, and the record holds what it accepted.\n"
                                     : "The camera agreed; nothing had to be set.\n");
}

constexpr const char* Help =
    R"(Brings the camera to the recorder's record of a stream, and stores in the record what the
camera accepted. Fields that RECORD leaves out are the record's (see --db), else the
defaults.
Fields: frameRate, resolution, quality, keyFrameInterval, bitRate, bitRateControl.
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
        command.footer(Help);
    }

private:
    void checkArguments(const SOptions& /*options*/) override {
        try {
            id_ = SArgumentReader::readVideoStreamId(stream_);
            given_ = SArgumentReader::readVideoRecord(record_);
        } catch (const COperationError& expected) {
            throw CFailure(ExitStatus::WrongUsage, std::string("sync: expected ") + expected.what());
        }
    }

    ExitStatus runOn(CDeviceSession& session) override {
        SOutcome outcome;
        try {
            outcome = synchronise(session);
        } catch (const COperationError& error) { // a camera's value that no record can carry
            throw CFailure(ExitStatus::CallFailed, "sync: " + PrintableText(error.what()));
        }
        WriteOutput(session.options().json ? JsonLine(OutcomeJson(stream_, outcome))
                                           : OutcomeText(outcome, ColourWanted()));
        if (outcome.succeeded())
            return ExitStatus::Success;
        return outcome.result ? TellFailedCall(session, "syncVideoCodecProperties", outcome.result)
                              : ExitStatus::CallFailed;
    }

    // The record as it is to be: what is given, then what is stored, then the defaults.
    SVornVidValsInDb wanted(CVornCamera& camera) const {
        SVornVidValsInDb record = given_;
        for (const SField& row : Fields)
            if (CString& value = record.*row.field.value; value.empty())
                (void)(camera.*row.get)(id_.channel, id_.stream, id_.codec,
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
        if (isDryRun_) {
            outcome.after = wouldBe(session, outcome);
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
                           [](const SHttpExchange& exchange) { return exchange.method != "POST"; }),
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
    SVideoStreamId id_{};    // of stream_
    SVornVidValsInDb given_; // of record_
};

} // namespace

std::unique_ptr<IVerb> MakeSyncVerb() {
    return std::make_unique<CSync>();
}

} // namespace corvane::vornhost
