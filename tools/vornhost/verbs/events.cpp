#include "tools/vornhost/calls/answer_text.h"
#include "tools/vornhost/console/output_thread.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/console/standard_streams.h"
#include "tools/vornhost/console/terminal_text.h"
#include "tools/vornhost/console/utc_time.h"
#include "tools/vornhost/diagnosis/stream_diagnosis.h"
#include "tools/vornhost/events/alarm_input_levels.h"
#include "tools/vornhost/events/event_text.h"
#include "tools/vornhost/events/event_watch.h"
#include "tools/vornhost/events/monitor_look.h"
#include "tools/vornhost/session/device_session.h"
#include "tools/vornhost/verbs/device_verb.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <future>
#include <mutex>
#include <utility>
#include <vector>

namespace corvane::vornhost {
namespace {

constexpr std::chrono::milliseconds ReaderPatience{500}; // at the end
constexpr std::chrono::seconds CameraPatience{2};        // for the answer to another request
constexpr const char* MonitorSilent = "monitor-silent";
constexpr const char* NoAnswer = "no-answer";
constexpr const char* ActiveLevel = "High"; // as the plug-in has it, whatever the contact

// The last line of events that end with a failure.
std::string ProblemEvent(const SDiagnosis& problem) {
    return JsonLine({{"event", "problem"},
                     {"problem", ProblemObject(problem)},
                     {"at", UtcTimeText(std::chrono::system_clock::now())}});
}

struct SSeenEvent {
    SStreamEvent event;
    SeenAt at;
};

// Watches one input and tells what happens, on standard output and standard error.
class CEventsRun {
public:
    CEventsRun(CDeviceSession& session, int input, const SEventWatchPlan& plan,
               std::optional<CReadableEvents> readable)
        : session_(session),
          input_(input),
          isForEyes_(readable.has_value()),
          readable_(std::move(readable)),
          watch_([this](const SEventStreamObserver& observer) { return makeStream(observer); }, plan,
                 reports()) {}

    ExitStatus run() {
        const CEndRequest interruption([this] { watch_.interrupt(); });
        const CEventWatch::Ending ending = watch_.run();
        if (verification_.valid())
            verification_.wait();
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
        reports.event = [this](const SStreamEvent& event) { take(event); };
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
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            endStream_ = observer.ended;
            if (trust_ == Trust::Refused) // the camera has had its time
                trust_ = Trust::None;
        }
        return std::make_shared<CEventStream>(session_.camera(), input_, observer);
    }

    // On the stream's thread. The first state of all is held back until the camera has been heard to tell it:
    // of one whose monitor is no monitor the plug-in's element shows a state too.
    void take(const SStreamEvent& event) {
        const SSeenEvent seen{event, std::chrono::system_clock::now()};
        const std::lock_guard<std::mutex> lock(mutex_);
        if (trust_ == Trust::None && event.kind == SStreamEvent::Kind::DryContactState) {
            trust_ = Trust::Sought;
            verification_ = std::async(std::launch::async, [this, event] { verify(event); });
        }
        if (trust_ == Trust::Sought)
            held_.push_back(seen);
        else if (trust_ != Trust::Refused)
            write(seen);
    }

    void verify(const SStreamEvent& first) {
        const auto answer = AskAlarmInputLevels(session_, CameraPatience);
        const auto* const levels = std::get_if<std::map<int, std::string>>(&answer);
        const auto level = levels ? levels->find(input_) : std::map<int, std::string>::const_iterator();
        const bool isConfirmed =
            levels && level != levels->end() &&
            (level->second == ActiveLevel) == (first.state == device_handler::v1_0::DryContactActive);
        std::optional<SDiagnosis> refusal;
        if (!isConfirmed)
            refusal = lookAtMonitor();
        std::function<void(const CError&)> end;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            trust_ = refusal ? Trust::Refused : Trust::Given;
            for (const SSeenEvent& seen : std::exchange(held_, {}))
                if (!refusal)
                    write(seen);
            refusal_ = refusal;
            end = endStream_;
        }
        if (refusal && end)
            end({RtnCode::NotAccessible, Origin::Device, refusal->problem});
    }

    // Why the camera is no monitor of its inputs; silence is no such reason.
    std::optional<SDiagnosis> lookAtMonitor() const {
        constexpr int Patience = 2; // seconds
        SMonitorLook look = LookAtMonitor(
            Patience,
            [this](const std::string& path, int timeOut, std::function<bool(const std::string&)> isEnough) {
                return session_.ask(path, timeOut, std::move(isEnough));
            },
            [this](const std::string& path) { return session_.diagnose(path); },
            [this](const auto& levels) { return levels.count(input_) > 0; });
        const bool isSilent =
            look.problem && (look.problem->cause == MonitorSilent || look.problem->cause == NoAnswer);
        return isSilent ? std::nullopt : look.problem;
    }

    // On the stream's thread.
    void write(const SSeenEvent& seen) {
        lines_.add(readable_ ? readable_->linesOf(seen.event)
                             : JsonLine(EventJson(seen.event, seen.at, std::nullopt)));
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
            diagnosis = SDiagnosis();
            diagnosis->problem = "the camera answers, but writes nothing of its alarm inputs";
            diagnosis->request = "GET " + url;
            diagnosis->reply = "nothing so far; it is waited for without limit";
            diagnosis->advice = "restart the camera if it stays so, and see what stands between it and here";
            diagnosis->cause = MonitorSilent;
            diagnosis->phase = MonitorPhase;
        }
        WriteMessage(diagnosis->lines(subject() + ": " + what));
    }

    void tellEnd(const CError& error) {
        if (trust_ == Trust::None)
            refusal_ = lookAtMonitor();
        if (refusal_)
            return tellProblem(*refusal_, subject() + ": the camera was lost");
        SDiagnosis diagnosis = askOtherwise().value_or(withoutFault());
        diagnosis.advice = "with --reconnect the program goes on when the camera is back";
        tellProblem(diagnosis, subject() + ": " + (error ? error.getText() : "the camera was lost"));
    }

    // Of a camera that ended the request for its alarm inputs and answers others.
    static SDiagnosis withoutFault() {
        SDiagnosis diagnosis;
        diagnosis.problem = "it answers other requests";
        diagnosis.request = std::string("GET ") + MonitorPath;
        diagnosis.reply = "the reply ended";
        diagnosis.cause = "stream-lost";
        diagnosis.phase = MonitorPhase;
        return diagnosis;
    }

    void tellProblem(const SDiagnosis& problem, const std::string& subject) const {
        if (!isForEyes_)
            WriteOutput(ProblemEvent(problem));
        WriteMessage(problem.lines(subject));
    }

    CDeviceSession& session_;
    const int input_;
    const bool isForEyes_;
    std::optional<CReadableEvents> readable_; // used by the thread of the present stream
    COutputThread lines_;
    CEventWatch watch_;
    std::future<void> silence_;

    enum class Trust { None, Sought, Given, Refused };

    std::mutex mutex_; // guards what follows
    Trust trust_ = Trust::None;
    std::vector<SSeenEvent> held_;
    std::function<void(const CError&)> endStream_; // the present one
    std::optional<SDiagnosis> refusal_;            // why its states are not the camera's
    std::future<void> verification_;
};

constexpr const char* Help =
    R"(Writes each event as a JSON line when it comes: {"event":"ping","time":NS,"at":TIME},
{"event":"dryContactState","state":0,"time":NS,"at":TIME} (0 active, 1 inactive),
{"event":"eos","time":NS,"at":TIME}; of a failure the last is
{"event":"problem","problem":{...},"at":TIME}. NS is when the event was made, TIME when it was seen.
Ctrl-C ends it.
Exit status 1 when the camera is lost, or tells no levels, unless --reconnect waits for it: it is tried again after
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
    bool isForPrograms(const SOptions& /*options*/) const override { return !readable_; }
    std::string problemLine(const SDiagnosis& failure) const override { return ProblemEvent(failure); }

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
            SDiagnosis problem;
            problem.problem = hasNone ? "the camera has no alarm inputs" : "the events cannot be had";
            problem.pluginText = error.what();
            problem.cause = hasNone ? "not-supported" : "not-reported";
            problem.phase = MonitorPhase;
            tell(session, address_ + ": input " + std::to_string(input_), problem);
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
