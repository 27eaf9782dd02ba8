#include "tools/vornhost/calls/answers.h"
#include "tools/vornhost/console/line_writer.h"
#include "tools/vornhost/console/output.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/diagnosis/stream_diagnosis.h"
#include "tools/vornhost/events/alarm_input_levels.h"
#include "tools/vornhost/events/event_lines.h"
#include "tools/vornhost/events/event_watch.h"
#include "tools/vornhost/session/device_session.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

#include <future>

namespace corvane::vornhost {
namespace {

using device_handler::v1_0::CError;
using device_handler::v1_0::RtnCode;
using device_handler::v1_0::SStreamEvent;

constexpr std::chrono::milliseconds ReaderPatience{500}; // at the end
constexpr std::chrono::seconds CameraPatience{2};        // of a question beside the stream

// One watch of one input: what is told where.
class CEventsRun {
public:
    CEventsRun(CDeviceSession& session, int input, const SEventWatchPlan& plan,
               std::optional<CReadableEvents> readable)
        : session_(session),
          input_(input),
          readable_(std::move(readable)),
          watch_([this](const SEventStreamObserver& observer) { return makeStream(observer); }, plan,
                 reports()) {}

    ExitStatus run() {
        const CEndRequest interruption([this] { watch_.interrupt(); });
        const CEventWatch::Ending ending = watch_.run();
        lines_.finish(ReaderPatience);
        if (ending == CEventWatch::Ending::StreamEnded) {
            tellEnd(watch_.streamError());
            return ExitStatus::CallFailed;
        }
        if (ending == CEventWatch::Ending::Time && !watch_.anythingCame() && !silence_.valid())
            tellSilence("no event has come");
        return ExitStatus::Success;
    }

private:
    CEventWatch::SReports reports() {
        CEventWatch::SReports reports;
        reports.event = [this](const SStreamEvent& event) { write(event); };
        // Beside the stream: whoever waits for the camera must not miss a signal.
        reports.nothingComes = [this] {
            silence_ = std::async(std::launch::async, [this] { tellSilence("no event comes"); });
        };
        reports.lost = [this](const CError& error) {
            tell((error ? error.getText() : std::string("the camera was lost")) +
                 "; trying again until it is back");
        };
        reports.back = [this](std::chrono::duration<double> gap) {
            tell("events come again after " + SecondsText(gap.count()) + " without any");
        };
        return reports;
    }

    std::shared_ptr<void> makeStream(const SEventStreamObserver& observer) {
        return std::make_shared<CEventStream>(session_.camera(), input_, observer);
    }

    // On the stream's thread.
    void write(const SStreamEvent& event) {
        lines_.add(readable_ ? readable_->linesOf(event) : JsonLine(EventJson(event, std::nullopt)));
    }

    std::string subject() const { return session_.address() + ": input " + std::to_string(input_); }

    void tell(const std::string& text) const { WriteMessage("vornhost: " + subject() + ": " + text + "\n"); }

    // What the camera answers to when it is asked otherwise.
    void tellSilence(const std::string& what) const {
        const auto answer = AskAlarmInputLevels(session_, CameraPatience);
        SDiagnosis diagnosis;
        if (const auto* const failure = std::get_if<SDiagnosis>(&answer)) {
            diagnosis = *failure;
        } else {
            std::string url;
            (void)session_.camera().getEventStreamUrl(input_, url);
            diagnosis.problem = "the camera answers, but writes nothing of its alarm inputs";
            diagnosis.request = "GET " + url;
            diagnosis.reply = "nothing so far; it is waited for without limit";
            diagnosis.advice = "restart the camera if it stays so, and see what stands between it and here";
        }
        WriteMessage(diagnosis.lines(subject() + ": " + what));
    }

    void tellEnd(const CError& error) const {
        SDiagnosis diagnosis;
        const auto answer = AskAlarmInputLevels(session_, CameraPatience);
        if (const auto* const failure = std::get_if<SDiagnosis>(&answer))
            diagnosis = *failure;
        else
            diagnosis.problem = "it answers other requests";
        diagnosis.advice = "with --reconnect the program goes on when the camera is back";
        WriteMessage(diagnosis.lines(subject() + ": " + (error ? error.getText() : "the camera was lost")));
    }

    CDeviceSession& session_;
    const int input_;
    std::optional<CReadableEvents> readable_; // the streams', of which there is one at a time
    CLineWriter lines_;
    CEventWatch watch_;
    std::future<void> silence_;
};

class CEvents : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.add_option("ADDRESS", address_, "The camera")->required();
        DeclareInput(command, input_, "The alarm input, counted from 0")->required();
        command.add_option("--seconds", plan_.seconds, "How long (default: until Ctrl-C)")
            ->type_name("S")
            ->check(CLI::Range(LeastSeconds, MostSeconds).description(""));
        command.add_flag("--reconnect", plan_.reconnects, "Go on when a lost camera is back");
        auto* const readable =
            command.add_flag("--readable", readable_, "For eyes: the state and when it changes");
        command.add_flag("--all", all_, "With --readable: every event")->needs(readable);
        command.footer("Writes each event as a JSON line when it comes: {\"event\":\"ping\",\"time\":NS},\n"
                       "{\"event\":\"dryContactState\",\"state\":0,\"time\":NS} (0 active, 1 inactive),\n"
                       "{\"event\":\"eos\",\"time\":NS}. Ctrl-C ends it.\n"
                       "Exit status 1 when the camera is lost, unless --reconnect waits for it: it is tried "
                       "again after\n"
                       "1 s, 2 s, 4 s and so on up to 30 s.\n"
                       "Example: vornhost events 192.168.0.10 --input 0 --readable --reconnect");
    }

    ExitStatus run(const SOptions& options) override {
        if (readable_ && options.json)
            throw CFailure(ExitStatus::WrongUsage, "--readable and --json exclude each other");
        const CEndRequest early([] { EndProcess(ExitStatus::Success); }); // until there is a stream to end
        CDeviceSession session(options, address_);
        if (!StartOrTell(session))
            return ExitStatus::NotStarted;
        try {
            return CEventsRun(session, input_, plan_,
                              readable_ ? std::optional(CReadableEvents(input_, all_)) : std::nullopt)
                .run();
        } catch (const CEventStreamError& error) {
            RequireThreads(error.error());
            if (error.error().getCode() == static_cast<int>(RtnCode::OutOfRange))
                throw CFailure(ExitStatus::WrongUsage, "wrong --input: " + std::string(error.what()));
            SDiagnosis diagnosis;
            diagnosis.problem = error.error().getCode() == static_cast<int>(RtnCode::NotAccessible)
                                    ? "the camera has no alarm inputs"
                                    : "the events cannot be had";
            diagnosis.pluginText = error.what();
            WriteMessage(diagnosis.lines(session.address() + ": input " + std::to_string(input_)));
            return ExitStatus::CallFailed;
        }
    }

private:
    static constexpr double LeastSeconds = 0.1;
    static constexpr double MostSeconds = 366.0 * 24 * 60 * 60;

    std::string address_;
    int input_ = 0;
    SEventWatchPlan plan_;
    bool readable_ = false;
    bool all_ = false;
};

} // namespace

std::unique_ptr<IVerb> MakeEventsVerb() {
    return std::make_unique<CEvents>();
}

} // namespace corvane::vornhost
