#include "refhost/streams/rtsp_pipeline.h"
#include "refhost/streams/stream_location.h"
#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/calls/answer_text.h"
#include "site/session/device_session.h"
#include "site/streams/stream_diagnosis.h"
#include "site/streams/stream_setting.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/console/waiting_line.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/recording/recording.h"
#include "tools/vornhost/recording/recording_text.h"
#include "tools/vornhost/verbs/device_verb.h"
#include "tools/vornhost/verbs/options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <filesystem>
#include <iterator>

namespace corvane::vornhost {
namespace {

constexpr const char* RecordHelp =
    R"(Records a video stream as the camera sends it. Ctrl-C ends the recording; the file plays to its
last frame then, and also when the camera is lost. A FILE that exists is replaced when the first
picture comes, and left alone when none does. --snapshot takes one picture instead, as a JPEG.
Exit status 1 when the stream cannot be had or ends by itself. Where the plug-in refuses the sound
the video is recorded alone, and the exit status is 1 all the same.
Example: vornhost record 192.168.0.10 --stream 0,h264,0 --audio --seconds 60 --output entrance.mkv
         vornhost record 192.168.0.10 --stream 0,h264,0 --snapshot entrance.jpg)";

class CRecord : public CDeviceVerb {
public:
    void declare(CLI::App& command) override {
        CDeviceVerb::declare(command);
        command.add_option("--stream", stream_, "CHANNEL,CODEC,STREAM, as in 0,h264,0")
            ->type_name("STREAM")
            ->required();
        auto* const output =
            command.add_option("--output", output_, "The Matroska file; - is standard output")
                ->type_name("FILE");
        auto* const audio =
            command.add_flag("--audio", withAudio_, "Take the sound of the video input along");
        DeclareSeconds(command, seconds_, "How much to record (default: until Ctrl-C)");
        command.add_option("--snapshot", snapshot_, "One picture into a JPEG file; - is standard output")
            ->type_name("FILE")
            ->excludes(output)
            ->excludes(audio);
        command.footer(RecordHelp);
    }

private:
    bool isEndedBySignals() const override { return true; }

    void checkArguments(const SOptions& /*options*/) override {
        if (output_.empty() && snapshot_.empty())
            throw CFailure(ExitStatus::WrongUsage, "where to? --output FILE.mkv, or --snapshot FILE.jpg");
        if (!snapshot_.empty() && seconds_)
            throw CFailure(ExitStatus::WrongUsage, "--snapshot takes one picture: there are no --seconds");
        requireMatroska();
        try {
            id_ = SArgumentReader::readVideoStreamId(stream_);
        } catch (const COperationError& error) {
            throw CFailure(ExitStatus::WrongUsage,
                           "wrong --stream \"" + stream_ + "\": expected " + error.what());
        }
    }

    // The plug-in would answer for an input that the camera does not have.
    void requireInput(const CDeviceSession& session) const {
        const SModelInfo* const model = session.model();
        if (model && id_.channel >= model->videoInputs)
            throw CFailure(ExitStatus::WrongUsage, "wrong --stream \"" + stream_ + "\": the camera has " +
                                                       std::to_string(model->videoInputs) + " video input" +
                                                       (model->videoInputs == 1 ? "" : "s") +
                                                       ", the first is 0");
    }

    ExitStatus runOn(CDeviceSession& session) override {
        requireInput(session);
        // Before the video's pipeline exists: the sound is taken from beside the same stream.
        std::optional<SDiagnosis> problem = withAudio_ ? withoutSound(session) : std::nullopt;
        IStreamController* made = nullptr;
        if (const CError error = session.camera().createVideoStreamPipeline(made, id_))
            return fail(session, error);
        const std::unique_ptr<IStreamController> controller(made);
        if (!snapshot_.empty())
            return takeSnapshot(session, *controller);
        GstPad* audio = nullptr;
        if (!audioUrl_.empty())
            if (const CError error = refhost::AddRtspAudio(
                    *controller, {audioUrl_, address_, session.authentication()}, audio))
                return fail(session, error);
        COutputFile file(output_);
        CRecording recording(*controller, file, limits(session.options()), audio);
        std::atomic<bool> isInterrupted{false};
        const CEndRequest interruption([&] {
            isInterrupted = true;
            recording.interrupt();
        });
        CProgressLine progress(seconds_);
        const CError error = recording.run(progress.writer());
        progress.clear();
        const SRecorded recorded = recording.recorded();
        if (!error && !problem && !isInterrupted && (problem = wrongStream(session, recorded, *controller)))
            WriteMessage(problem->lines(address_ + ": " + stream_));
        if (recorded.frames > 0 || !error || problem) {
            ordered_json json = RecordedJson(output_, id_.codec, recorded);
            if (problem)
                json["problem"] = ProblemObject(*problem);
            report(file,
                   session.options().json ? JsonLine(json) : RecordedText(output_, id_.codec, recorded));
        }
        if (error)
            return fail(session, error, controller.get());
        if (audio && recorded.sounds == 0 && !isInterrupted)
            return fail(session, noSoundWithin(recorded.seconds), controller.get());
        return problem ? ExitStatus::CallFailed : ExitStatus::Success;
    }

    ExitStatus takeSnapshot(const CDeviceSession& session, IStreamController& controller) const {
        COutputFile file(snapshot_);
        std::optional<SPicture> picture;
        CSnapshot snapshot(controller, id_.codec);
        const CEndRequest interruption([&snapshot] { snapshot.interrupt(); });
        CError error = snapshot.take(limits(session.options()).silence, picture);
        if (error)
            return fail(session, error, &controller);
        if (!picture)
            return ExitStatus::Success;
        if (const int failure = file.write(picture->jpeg))
            return fail(session,
                        {RtnCode::OperationFailed, Origin::General,
                         UnwritableText(snapshot_, std::generic_category().message(failure))},
                        &controller);
        report(file, session.options().json ? JsonLine(PictureJson(snapshot_, id_.codec, *picture))
                                            : PictureText(snapshot_, id_.codec, *picture));
        return ExitStatus::Success;
    }

    // Where standard output is the recording, it is told on standard error.
    static void report(const COutputFile& file, const std::string& text) {
        if (file.path() == COutputFile::StandardOutput)
            WriteMessage(text);
        else
            WriteOutput(text);
    }

    // Others are told apart by their names too, and would not play.
    void requireMatroska() const {
        constexpr const char* Others[] = {".mp4", ".m4v",  ".mov", ".avi", ".ts",
                                          ".mpg", ".mpeg", ".wmv", ".flv"};
        std::string ending = std::filesystem::path(output_).extension();
        std::transform(ending.begin(), ending.end(), ending.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (std::find(std::begin(Others), std::end(Others), ending) != std::end(Others))
            throw CFailure(
                ExitStatus::WrongUsage,
                "wrong --output \"" + output_ +
                    "\": what is written is a Matroska file, as the camera's streams fit into no " + ending +
                    " at every moment; name it .mkv");
    }

    static constexpr std::chrono::milliseconds UsualSilence{10'000};

    // Where the sound beside the video input is, at the bit rate of its record.
    CError findAudio(const CDeviceSession& session) {
        const SAudioStreamId id{id_.channel};
        CString codecs;
        if (CError error =
                session.camera().getAudioInputCodecCount(id.stream, codecs)) // is there sound at all
            return error;
        vorn_camera_base::v1_0::SVornAudValsInDb record;
        if (CError error = session.camera().readAudioStreamRecord(id, record))
            return error;
        std::string url;
        if (CError error = session.camera().getAudioStreamUrl(record, id, url))
            return error;
        audioUrl_ = refhost::WithoutCredentials(url, session.authentication());
        return CError::Success();
    }

    // Why the video is recorded alone.
    std::optional<SDiagnosis> withoutSound(const CDeviceSession& session) {
        const CError error =
            WhileWaiting("waiting for the camera to switch its sound on", [&] { return findAudio(session); });
        if (!error)
            return std::nullopt;
        SDiagnosis problem = Diagnose(Occasion::Call, error, session.exchanges());
        if (problem.request.empty()) // no request has failed
            problem = DiagnoseStreamOff(session, id_).value_or(problem);
        WriteMessage(problem.lines(session.address() + ": getAudioStreamUrl; the video is recorded alone"));
        return problem;
    }

    static CError noSoundWithin(double seconds) {
        return {RtnCode::NotAccessible, Origin::Device,
                refhost::rtsp_failure::OfAudio + "no sound within " + SecondsText(seconds)};
    }

    // The settings are not waited for: a recording does without them.
    std::optional<SDiagnosis> wrongStream(const CDeviceSession& session, const SRecorded& recorded,
                                          const IStreamController& stream) const {
        constexpr double Enough = 1; // seconds
        constexpr double LeastOfRate = 0.25;
        const auto settings = session.exchanges().lastOf(SettingsRequest);
        if (!settings || settings->isFailed())
            return std::nullopt;
        const double rate =
            recorded.seconds >= Enough ? static_cast<double>(recorded.frames) / recorded.seconds : 0;
        return DiagnoseWrongStream({recorded.resolution, rate}, StreamSettingOf(session, stream_),
                                   LeastOfRate, refhost::RtspRequest(stream, refhost::RtspPart::Pictures));
    }

    SRecordingLimits limits(const SOptions& options) const {
        return {seconds_,
                options.timeout ? options.patience(std::chrono::milliseconds::max()) : UsualSilence};
    }

    // `stream` is null where none was made.
    ExitStatus fail(const CDeviceSession& session, const CError& error,
                    const IStreamController* stream = nullptr) const {
        RequireMachine(error);
        const auto requestFor = [stream](refhost::RtspPart part) {
            return stream ? refhost::RtspRequest(*stream, part) : "";
        };
        const std::string& ofAudio = refhost::rtsp_failure::OfAudio;
        if (error.getText().compare(0, ofAudio.size(), ofAudio) == 0) {
            tell(session, address_ + ": the sound",
                 DiagnoseStream(error, requestFor(refhost::RtspPart::Sound)));
        } else {
            tell(session, address_ + ": " + stream_,
                 DiagnoseLostStream(session, id_,
                                    DiagnoseStream(error, requestFor(refhost::RtspPart::Pictures))));
        }
        return ExitStatus::CallFailed;
    }

    std::string stream_;
    SVideoStreamId id_{}; // of stream_
    std::string output_;
    std::string snapshot_; // the file of one picture; empty for a recording
    bool withAudio_ = false;
    std::string audioUrl_; // empty without sound
    std::optional<double> seconds_;
};

} // namespace

std::unique_ptr<IVerb> MakeRecordVerb() {
    return std::make_unique<CRecord>();
}

} // namespace corvane::vornhost
