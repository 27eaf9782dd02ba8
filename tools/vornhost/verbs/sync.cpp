#include "tools/vornhost/calls/answers.h"
#include "tools/vornhost/calls/invocation.h"
#include "tools/vornhost/console/output.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/console/terminal_text.h"
#include "tools/vornhost/session/device_session.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <utility>

namespace corvane::vornhost {
namespace {

using device_handler::v1_0::CError;
using device_handler::v1_0::COperationError;
using device_handler::v1_0::CString;
using device_handler::v1_0::SAnswer;
using device_handler::v1_0::SArgumentReader;
using handler_impl::SVideoStreamId;
using nlohmann::ordered_json;
using refhost::SHttpExchange;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_camera_base::v1_0::NeedWriteBack;
using vorn_camera_base::v1_0::SVideoField;
using vorn_camera_base::v1_0::SVornVidValsInDb;
using vorn_camera_base::v1_0::VideoFields;

// One field of a record: how it is told, and the recorder's value of it.
struct SField {
    const SVideoField& field;
    const char* label;
    CError (CVornCamera::*get)(int, int, device_handler::v1_0::VideoCodec, CString&);
};

const SField Fields[] = {
    {VideoFields[0], "frames a second", &CVornCamera::getVideoCodecFrameRate},
    {VideoFields[1], "resolution", &CVornCamera::getVideoCodecResolution},
    {VideoFields[2], "quality", &CVornCamera::getVideoCodecQuality},
    {VideoFields[3], "frames to a key frame", &CVornCamera::getVideoCodecKeyFrameInterval},
    {VideoFields[4], "bit rate", &CVornCamera::getVideoCodecBitRate},
    {VideoFields[5], "bit-rate control", &CVornCamera::getVideoCodecBitRateControl},
};

// One synchronisation, before and after. Camera records are in the recorder's form.
struct SOutcome {
    SVornVidValsInDb record; // as it was asked for
    SVornVidValsInDb before; // what the camera had
    SVornVidValsInDb after;  // the record as it is now; in a dry run what the camera would be asked for
    std::vector<SHttpExchange> sent;
    bool isDryRun = false;
    CError result = CError::Success();

    bool changed() const { return result.getText() == NeedWriteBack; }
    bool isUnreported() const { return before.resolution.empty() && before.frameRate.empty(); }
    bool succeeded() const { return (!result || changed()) && !isUnreported(); }
};

std::string RecordText(const SVornVidValsInDb& record) {
    std::string text;
    for (const SVideoField& field : VideoFields)
        if (const CString& value = record.*field.value; !value.empty())
            text += (text.empty() ? "" : ";") + std::string(field.name) + "=" + value.str();
    return text;
}

ordered_json RecordJson(const SVornVidValsInDb& record) {
    ordered_json json = ordered_json::object();
    for (const SVideoField& field : VideoFields)
        if (const CString& value = record.*field.value; !value.empty())
            json[field.name] = value.str();
    return json;
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

class CSync : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.add_option("ADDRESS", address_, "The camera")->required();
        command.add_option("RECORD", record_, "field=value;... for fields that the record is to have");
        command.add_option("--stream", stream_, "CHANNEL,CODEC,STREAM, as in 0,h264,0")
            ->type_name("STREAM")
            ->required();
        command.add_flag("--dry-run", isDryRun_, "Send nothing and show what would be");
        command.footer(
            "Brings the camera to the recorder's record of a stream, and stores in the record what the\n"
            "camera accepted. Fields that RECORD leaves out are the record's (see --db), else the\n"
            "defaults.\n"
            "Fields: frameRate, resolution, quality, keyFrameInterval, bitRate, bitRateControl.\n"
            "Example: vornhost sync 192.168.0.10 --stream 0,h264,0 'resolution=640x480;frameRate=15'");
    }

    ExitStatus run(const SOptions& options) override {
        const auto [id, given] = arguments();
        CDeviceSession session(options, address_);
        if (!StartOrTell(session))
            return ExitStatus::NotStarted;
        const SOutcome outcome = [&, id = id, given = given] {
            try {
                return synchronise(session, id, given);
            } catch (const COperationError& error) { // a camera's value that no record can carry
                throw CFailure(ExitStatus::CallFailed, "sync: " + PrintableText(error.what()));
            }
        }();
        WriteOutput(options.json ? JsonLine(OutcomeJson(stream_, outcome))
                                 : OutcomeText(outcome, ColourWanted()));
        if (outcome.succeeded())
            return ExitStatus::Success;
        if (!outcome.result)
            return ExitStatus::CallFailed;
        WriteMessage(Diagnose(Occasion::Call, outcome.result, session.exchanges())
                         .lines(session.address() + ": syncVideoCodecProperties"));
        return ExitStatus::CallFailed;
    }

private:
    std::pair<SVideoStreamId, SVornVidValsInDb> arguments() const {
        try {
            return {SArgumentReader::readVideoStreamId(stream_), SArgumentReader::readVideoRecord(record_)};
        } catch (const COperationError& expected) {
            throw CFailure(ExitStatus::WrongUsage, std::string("sync: expected ") + expected.what());
        }
    }

    // The record as it is to be: what is given, then what is stored, then the defaults.
    static SVornVidValsInDb wanted(CVornCamera& camera, const SVideoStreamId& id,
                                   const SVornVidValsInDb& given) {
        SVornVidValsInDb record = given;
        for (const SField& row : Fields)
            if (CString& value = record.*row.field.value; value.empty())
                (void)(camera.*row.get)(id.channel, id.stream, id.codec, value); // else the field stays unset
        return record;
    }

    SOutcome synchronise(CDeviceSession& session, const SVideoStreamId& id, const SVornVidValsInDb& given) {
        SOutcome outcome;
        outcome.isDryRun = isDryRun_;
        outcome.record = wanted(session.camera(), id, given);
        outcome.before = cameraRecord(session, outcome.result);
        outcome.after = outcome.record;
        if (outcome.result)
            return outcome;
        if (isDryRun_) {
            outcome.after = wouldBe(session, outcome);
            return outcome;
        }
        // Before the camera is set: its record could not be kept.
        if ((outcome.result = session.databaseFailure()))
            return outcome;
        (void)session.exchanges().takeFailing(); // what came before the synchronisation
        outcome.result = session.camera().syncVideoCodecProperties(outcome.after, id);
        outcome.sent = session.exchanges().all();
        outcome.sent.erase(
            std::remove_if(outcome.sent.begin(), outcome.sent.end(),
                           [](const SHttpExchange& exchange) { return exchange.method != "POST"; }),
            outcome.sent.end());
        if (outcome.changed()) {
            if (CError error = session.camera().writeVideoStreamRecord(id, outcome.after))
                outcome.result = error;
        }
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
        SVornVidValsInDb record =
            converted(session, "convertVideoCodecToNvr",
                      answer(session, "convertVideoCodecToCamera", {stream_, RecordText(outcome.record)}));
        for (const SVideoField& field : VideoFields)
            if ((record.*field.value).empty())
                record.*field.value = outcome.before.*field.value;
        return record;
    }

    static SAnswer answer(CDeviceSession& session, const std::string& operation,
                          const std::vector<std::string>& arguments) {
        return MakeCall(session.operations(), {operation, arguments}).answer;
    }

    SVornVidValsInDb converted(CDeviceSession& session, const std::string& operation,
                               const SAnswer& from) const {
        return SArgumentReader::readVideoRecord(
            RecordArgument(answer(session, operation, {stream_, RecordArgument(from)})));
    }

    std::string address_;
    std::string record_;
    std::string stream_;
    bool isDryRun_ = false;
};

} // namespace

std::unique_ptr<IVerb> MakeSyncVerb() {
    return std::make_unique<CSync>();
}

} // namespace corvane::vornhost
