#include "tools/vornhost/calls/answer_text.h"
#include "tools/vornhost/console/output_thread.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/console/standard_streams.h"
#include "tools/vornhost/console/terminal_text.h"
#include "tools/vornhost/diagnosis/stream_diagnosis.h"
#include "tools/vornhost/events/alarm_input_levels.h"
#include "tools/vornhost/events/event_text.h"
#include "tools/vornhost/events/event_watch.h"
#include "tools/vornhost/session/device_session.h"
#include "tools/vornhost/verbs/device_verb.h"

#include <CLI/CLI.hpp>

#include <future>

namespace corvane::vornhost {
namespace {

constexpr std::chrono::milliseconds ReaderPatience{500}; // at the end
constexpr std::chrono::seconds CameraPatience{2};        // for the answer to another request

// Watches one input and tells what happens, on standard output and standard error.
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
        // On a thread of its own: the watch goes on and takes signals while the camera is asked.
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

    // Why the camera does not answer another request either; nothing when it does.
    std::optional<SDiagnosis> askOtherwise() const {
        const auto answer = AskAlarmInputLevels(session_, CameraPatience);
        const auto* const failure = std::get_if<SDiagnosis>(&answer);
        return failure ? std::optional(*failure) : std::nullopt;
    }

    void tellSilence(const std::string& what) const {
        std::optional<SDiagnosis> diagnosis = askOtherwise();
        if (!diagnosis) {
            std::string url;
            (void)session_.camera().getEventStreamUrl(input_, url);
            diagnosis = {"the camera answers, but writes nothing of its alarm inputs", "", "GET " + url,
                         "nothing so far; it is waited for without limit",
                         "restart the camera if it stays so, and see what stands between it and here"};
        }
        WriteMessage(diagnosis->lines(subject() + ": " + what));
    }

    void tellEnd(const CError& error) const {
        SDiagnosis diagnosis = askOtherwise().value_or(SDiagnosis{"it answers other requests"});
        diagnosis.advice = "with --reconnect the program goes on when the camera is back";
        WriteMessage(diagnosis.lines(subject() + ": " + (error ? error.getText() : "the camera was lost")));
    }

    CDeviceSession& session_;
    const int input_;
    std::optional<CReadableEvents> readable_; // used by the thread of the present stream
    COutputThread lines_;
    CEventWatch watch_;
    std::future<void> silence_;
};

constexpr const char* Help =
    R"(Writes each event as a JSON line when it comes: {"event":"ping","time":NS},
{"event":"dryContactState","state":0,"time":NS} (0 active, 1 inactive),
{"event":"eos","time":NS}. Ctrl-C ends it.
Exit status 1 when the camera is lost, unless --reconnect waits for it: it is tried again after
1 s, 2 s, 4 s and so on up to 30 s.
Example: vornhost events 192.168.0.10 --input 0 --readable --reconnect)";

class CEvents : public CDeviceVerb {
public:
    void declare(CLI::App& command) override {
        CDeviceVerb::declare(command);
        DeclareInput(command, input_, "The alarm input, counted from 0")->required();
        DeclareSeconds(command, plan_.seconds, "How long (default: until Ctrl-C)");
        command.add_flag("--reconnect", plan_.reconnects, "Go on when a lost camera is back");
        auto* const readable =
            command.add_flag("--readable", readable_, "For eyes: the state and when it changes");
        command.add_flag("--all", all_, "With --readable: every event")->needs(readable);
        command.footer(Help);
    }

private:
    bool isEndedBySignals() const override { return true; }

    void checkArguments(const SOptions& options) override {
        if (readable_ && options.json)
            throw CFailure(ExitStatus::WrongUsage, "--readable and --json exclude each other");
    }

    ExitStatus runOn(CDeviceSession& session) override {
        try {
            return CEventsRun(session, input_, plan_,
                              readable_ ? std::optional(CReadableEvents(input_, all_)) : std::nullopt)
                .run();
        } catch (const CEventStreamError& error) {
            RequireThreads(error.error());
            if (error.error().getCode() == static_cast<int>(RtnCode::OutOfRange))
                throw CFailure(ExitStatus::WrongUsage, "wrong --input: " + std::string(error.what()));
            const bool hasNone = error.error().getCode() == static_cast<int>(RtnCode::NotAccessible);
            WriteMessage(SDiagnosis{hasNone ? "the camera has no alarm inputs" : "the events cannot be had",
                                    error.what()}
                             .lines(address_ + ": input " + std::to_string(input_)));
            return ExitStatus::CallFailed;
        }
    }

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
