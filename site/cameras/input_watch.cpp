#include "site/cameras/input_watch.h"

#include "refhost/http/connection_probe.h"
#include "site/events/alarm_input_questions.h"
#include "site/session/identification.h"

#include <algorithm>
#include <charconv>
#include <numeric>

namespace corvane::site {
namespace {

constexpr std::chrono::seconds LongestSilence{20}; // of a monitor; the plug-in ends the streams before

SDiagnosis ProblemOfStream(const CEventStreamError& error, CDeviceSession& session) {
    // The capability says how many inputs there are.
    if (const auto failed = session.exchanges().failedCapability())
        return DiagnoseExchange(*failed, session.exchanges());
    SDiagnosis problem;
    problem.problem = "the camera does not have the input";
    problem.pluginText = error.what();
    problem.reply = error.what();
    problem.advice =
        "see with `vornhost show` how many alarm inputs the camera has, and put the site file right";
    problem.cause = "not-supported";
    problem.phase = MonitorPhase;
    return problem;
}

SDiagnosis StreamLost(const std::string& address, const char* reply) {
    SDiagnosis lost;
    lost.problem = "the camera's alarm inputs are no longer told";
    lost.request = "GET http://" + address + MonitorPath;
    lost.reply = reply;
    lost.advice = "it is tried again until it is back";
    lost.cause = "stream-lost";
    lost.phase = MonitorPhase;
    return lost;
}

} // namespace

std::optional<SDiagnosis> CInputWatch::start() {
    auto problem = learnInputs();
    if (problem || inputs_.empty())
        return problem;
    // The plug-in's element shows a state of a camera too whose monitor is none.
    SMonitorLook look = CAlarmInputQuestions(session_, inputs_.front()).lookAtMonitor(inputs_);
    if (look.problem)
        return look.problem;
    for (const int input : inputs_)
        untold_[input] = look.levels[input];
    begin_ = std::chrono::steady_clock::now();
    for (const int input : inputs_)
        if ((problem = listen(input)))
            return problem;
    return std::nullopt;
}

std::optional<SDiagnosis> CInputWatch::learnInputs() {
    if (camera_.inputs) {
        inputs_ = *camera_.inputs;
        return std::nullopt;
    }
    CString text;
    const CError error = session_.camera().getDryContactInputCount(text);
    if (const auto failed = session_.exchanges().failedCapability())
        return DiagnoseExchange(*failed, session_.exchanges());
    const std::string digits = error ? "" : text.str();
    int count = 0;
    (void)std::from_chars(digits.data(), digits.data() + digits.size(), count);
    inputs_.resize(static_cast<std::size_t>(std::max(count, 0)));
    std::iota(inputs_.begin(), inputs_.end(), 0);
    return std::nullopt;
}

std::optional<SDiagnosis> CInputWatch::listen(int input) {
    SEventStreamObserver observer;
    observer.event = [this, input](const SStreamEvent& event) {
        if (event.kind == SStreamEvent::Kind::EndOfStream)
            return;
        isHeard_ = true;
        if (event.kind != SStreamEvent::Kind::DryContactState || isTold(input, event))
            observer_.event(input, event);
    };
    observer.ended = [this](const CError&) {
        if (!isLost_.exchange(true))
            observer_.lost();
    };
    try {
        streams_.push_back(std::make_unique<CEventStream>(session_.camera(), input, std::move(observer)));
    } catch (const CEventStreamError& error) {
        return ProblemOfStream(error, session_);
    }
    return std::nullopt;
}

// The plug-in's element begins with a level of its own, and may have missed what the camera told first. One
// that has changed meanwhile is told when the camera must have repeated it.
bool CInputWatch::isTold(int input, const SStreamEvent& event) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto untold = untold_.find(input);
    if (untold == untold_.end())
        return true;
    const bool isRepeated = std::chrono::steady_clock::now() - begin_ > LongestSilence;
    if (!isRepeated && !HasLevel(event, untold->second))
        return false;
    untold_.erase(untold);
    return true;
}

SDiagnosis CInputWatch::whyLost() const {
    const auto probed = refhost::ProbeConnection(camera_.address, LongestIdentification);
    if (probed.kind != HttpFailure::None)
        return *NobodyThere(camera_.address, *session_.plugin().models(), probed).failure;
    // One that takes connections says itself what it no longer does.
    return CAlarmInputQuestions(session_, inputs_.front())
        .lookAtMonitor()
        .value_or(StreamLost(camera_.address, "the reply ended"));
}

SDiagnosis CInputWatch::whyUnheard() const {
    return StreamLost(camera_.address, "nothing has come");
}

} // namespace corvane::site
