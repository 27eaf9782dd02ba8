#include "refhost/streams/rtsp_pipeline.h"
#include "refhost/streams/stream_location.h"
#include "tools/vornhost/calls/answer_text.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/console/standard_streams.h"
#include "tools/vornhost/diagnosis/stream_diagnosis.h"
#include "tools/vornhost/recording/recording.h"
#include "tools/vornhost/recording/recording_text.h"
#include "tools/vornhost/session/device_session.h"
#include "tools/vornhost/verbs/device_verb.h"

#include <CLI/CLI.hpp>

namespace corvane::vornhost {
namespace {

constexpr const char* Help =
    R"(Records a video stream as the camera sends it. Ctrl-C ends the recording; the file plays to its
last frame then, and also when the camera is lost. A FILE that exists is replaced when the first
picture comes, and left alone when none does.
Exit status 1 when the stream cannot be had or ends by itself. Where the plug-in refuses the sound
the video is recorded alone, and the exit status is 1 all the same.
Example: vornhost record 192.168.0.10 --stream 0,h264,0 --audio --seconds 60 --output entrance.mkv)";

class CRecord : public CDeviceVerb {
public:
    void declare(CLI::App& command) override {
        CDeviceVerb::declare(command);
        command.add_option("--stream", stream_, "CHANNEL,CODEC,STREAM, as in 0,h264,0")
            ->type_name("STREAM")
            ->required();
        command.add_option("--output", output_, "The Matroska file")->type_name("FILE")->required();
        command.add_flag("--audio", withAudio_, "Take the sound of the video input along");
        DeclareSeconds(command, seconds_, "How much to record (default: until Ctrl-C)");
        command
            .add_option("--timeout", timeout_,
                        "Give up after S seconds without a picture, or without sound (default 10)")
            ->type_name("S")
            ->check(CLI::Range(ShortestTimeout, LongestTimeout).description(""));
        command.footer(Help);
    }

private:
    bool isEndedBySignals() const override { return true; }

    void checkArguments(const SOptions& /*options*/) override {
        try {
            id_ = SArgumentReader::readVideoStreamId(stream_);
        } catch (const COperationError& error) {
            throw CFailure(ExitStatus::WrongUsage,
                           "wrong --stream \"" + stream_ + "\": expected " + error.what());
        }
    }

    ExitStatus runOn(CDeviceSession& session) override {
        // Before the video's pipeline exists: the sound is taken from beside the same stream.
        if (const CError error = withAudio_ ? findAudio(session) : CError::Success())
            (void)TellFailedCall(session, "getAudioStreamUrl; the video is recorded alone", error);
        IStreamController* made = nullptr;
        if (const CError error = session.camera().createVideoStreamPipeline(made, id_))
            return fail(error);
        const std::unique_ptr<IStreamController> controller(made);
        GstPad* audio = nullptr;
        if (!audioUrl_.empty())
            if (const CError error = refhost::AddRtspAudio(
                    *controller, {audioUrl_, address_, session.authentication()}, audio))
                return fail(error);
        COutputFile file(output_);
        CRecording recording(*controller, file, limits(), audio);
        const CEndRequest interruption([&recording] { recording.interrupt(); });
        CProgressLine progress(limits().seconds);
        const CError error = recording.run(progress.writer());
        progress.clear();
        const SRecorded recorded = recording.recorded();
        if (recorded.frames > 0 || !error)
            WriteOutput(session.options().json ? JsonLine(RecordedJson(output_, id_.codec, recorded))
                                               : RecordedText(output_, id_.codec, recorded));
        if (error)
            return fail(error, controller.get());
        return withAudio_ && !audio ? ExitStatus::CallFailed : ExitStatus::Success;
    }

    static constexpr double ShortestTimeout = 0.1;
    static constexpr double LongestTimeout = 60 * 60;

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

    SRecordingLimits limits() const {
        return {seconds_, std::chrono::milliseconds(static_cast<long long>(timeout_ * 1000))};
    }

    // `stream` is null where none was made.
    ExitStatus fail(const CError& error, const IStreamController* stream = nullptr) const {
        RequireThreads(error);
        const auto requestFor = [stream](refhost::RtspPart part) {
            return stream ? refhost::RtspRequest(*stream, part) : "";
        };
        const std::string& ofAudio = refhost::rtsp_failure::OfAudio;
        if (error.getText().compare(0, ofAudio.size(), ofAudio) == 0) {
            const CError itself(static_cast<RtnCode>(error.getCode()), static_cast<Origin>(error.getOrigin()),
                                error.getText().substr(ofAudio.size()));
            WriteMessage(
                DiagnoseStream(itself, requestFor(refhost::RtspPart::Sound)).lines(address_ + ": the sound"));
        } else {
            WriteMessage(DiagnoseStream(error, requestFor(refhost::RtspPart::Pictures))
                             .lines(address_ + ": " + stream_));
        }
        return ExitStatus::CallFailed;
    }

    std::string stream_;
    SVideoStreamId id_{}; // of stream_
    std::string output_;
    bool withAudio_ = false;
    std::string audioUrl_; // empty without sound
    std::optional<double> seconds_;
    double timeout_ = 10;
};

} // namespace

std::unique_ptr<IVerb> MakeRecordVerb() {
    return std::make_unique<CRecord>();
}

} // namespace corvane::vornhost
