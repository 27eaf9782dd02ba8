#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/base/utc_time.h"
#include "site/calls/answer_text.h"
#include "site/events/alarm_input_levels.h"
#include "site/events/alarm_input_questions.h"
#include "site/events/event_text.h"
#include "site/session/device_session.h"
#include "site/streams/stream_diagnosis.h"
#include "tools/vornhost/console/output_thread.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/console/waiting_line.h"
#include "tools/vornhost/events/event_watch.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/verbs/device_verb.h"
#include "tools/vornhost/verbs/options.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <future>
#include <mutex>
#include <utility>
#include <vector>

namespace corvane::vornhost {
namespace {

constexpr std::chrono::milliseconds ReaderPatience{500}; // at the end

// The line of what is wrong.
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
          questions_(session, input),
          isForEyes_(readable.has_value()),
          readable_(std::move(readable)),
          watch_([this](const SEventStreamObserver& observer) { return makeStream(observer); }, plan,
                 reports()) {}

    ExitStatus run() {
        const CEndRequest interruption([this] { watch_.interrupt(); });
        waiting_.show("waiting for the first event");
        const CEventWatch::Ending ending = watch_.run();
        waiting_.end();
        if (verification_.valid())
            verification_.wait();
        lines_.finish(ReaderPatience);
        if (ending == CEventWatch::Ending::StreamEnded) {
            tellEnd(watch_.streamError());
            return ExitStatus::CallFailed;
        }
        if (ending == CEventWatch::Ending::Interrupted)
            return ExitStatus::Success;
        if (refusal_) // found out when the time was over
            tellProblem(*refusal_, subject());
        else if (ending == CEventWatch::Ending::Time && !watch_.anythingCame())
            tellNothing();
        else if (!fault_)
            return ExitStatus::Success;
        return ExitStatus::CallFailed;
    }

private:
    CEventWatch::SReports reports() {
        CEventWatch::SReports reports;
        reports.event = [this](const SStreamEvent& event) { take(event); };
        // On a thread of its own: the watch goes on and takes signals while the camera is asked.
        reports.nothingComes = [this] {
            silence_ = std::async(std::launch::async, [this] {
                SDiagnosis silence = questions_.whySilent();
                tellPerson(silence, "no event comes");
                return silence;
            });
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
        std::string level; // the latest that the camera has told by itself
        auto fault = questions_.listen([&](const std::string& told) {
            const auto levels = MonitoredLevels(told);
            const auto found = levels.find(input_);
            if (found == levels.end())
                return;
            if (level.empty())
                trust(std::nullopt);
            level = found->second;
        });
        if (level.empty() && !fault)
            return trust(questions_.refusalOf(first));
        if (fault && fault->cause == MonitorCut) // a camera that has just restarted does so once
            fault = questions_.listen();
        if (!fault)
            fault = questions_.contradiction(level);
        if (!fault)
            return;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            fault_ = fault;
        }
        tellProblem(*fault, subject());
    }

    // From here on the states are the camera's, or they are not, and the stream is ended.
    void trust(const std::optional<SDiagnosis>& refusal) {
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

    // On the stream's thread.
    void write(const SSeenEvent& seen) {
        waiting_.end();
        lines_.add(readable_ ? readable_->linesOf(seen.event)
                             : JsonLine(EventJson(seen.event, seen.at, std::nullopt)));
    }

    std::string subject() const { return session_.address() + ": input " + std::to_string(input_); }

    void tell(const std::string& text) const { WriteMessage("vornhost: " + subject() + ": " + text + "\n"); }

    // At the end of a watch that saw nothing; a person may know already.
    void tellNothing() {
        const bool isTold = silence_.valid();
        const SDiagnosis silence = isTold ? silence_.get() : questions_.whySilent();
        if (!isForEyes_)
            WriteOutput(ProblemEvent(silence));
        if (!isTold)
            tellPerson(silence, "no event has come");
    }

    void tellPerson(const SDiagnosis& problem, const std::string& what) const {
        WriteMessage(problem.lines(subject() + ": " + what));
    }

    void tellEnd(const CError& error) {
        if (trust_ == Trust::None)
            refusal_ = questions_.lookAtMonitor();
        if (refusal_)
            return tellProblem(*refusal_, subject() + ": the camera was lost");
        std::optional<SDiagnosis> why = questions_.askOtherwise();
        if (!why)
            why = questions_.listen();
        SDiagnosis diagnosis = why.value_or(withoutFault());
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
    const CAlarmInputQuestions questions_;
    const bool isForEyes_;
    std::optional<CReadableEvents> readable_; // used by the thread of the present stream
    COutputThread lines_;
    CWaitingLine waiting_;
    CEventWatch watch_;
    std::future<SDiagnosis> silence_;

    enum class Trust { None, Sought, Given, Refused };

    std::mutex mutex_; // guards what follows
    Trust trust_ = Trust::None;
    std::vector<SSeenEvent> held_;
    std::function<void(const CError&)> endStream_; // the present one
    std::optional<SDiagnosis> refusal_;            // why its states are not the camera's
    std::optional<SDiagnosis> fault_;              // what is wrong with a monitor that tells levels
    std::future<void> verification_;
};

constexpr const char* EventsHelp =
    R"(Writes each event as a JSON line when it comes: {"event":"ping","time":NS,"at":TIME},
{"event":"dryContactState","state":0,"time":NS,"at":TIME} (0 active, 1 inactive),
{"event":"eos","time":NS,"at":TIME}; of what is wrong there is
{"event":"problem","problem":{...},"at":TIME}. NS is when the event was made, TIME when it was seen.
Ctrl-C ends it.
Exit status 1 when the camera is lost, unless --reconnect waits for it (it is tried again after 1 s,
2 s, 4 s and so on up to 30 s), and when it tells no levels, or tells them wrongly.
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
        command.footer(EventsHelp);
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
            RequireMachine(error.error());
            if (error.error().getCode() == static_cast<int>(RtnCode::OutOfRange))
                throw CFailure(ExitStatus::WrongUsage, "wrong --input: " + std::string(error.what()));
            const bool hasNone = error.error().getCode() == static_cast<int>(RtnCode::NotAccessible);
            SDiagnosis problem;
            problem.problem = hasNone ? "the camera has no alarm inputs" : "the events cannot be had";
            problem.pluginText = error.what();
            problem.cause = hasNone ? "not-supported" : "not-reported";
            problem.phase = MonitorPhase;
            // The capability says how many there are.
            if (const auto failed = session.exchanges().failedCapability())
                problem = DiagnoseExchange(*failed, session.exchanges());
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
