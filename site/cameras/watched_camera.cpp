#include "site/cameras/watched_camera.h"

#include "refhost/http/connection_probe.h"
#include "site/base/utc_time.h"
#include "site/events/alarm_input_questions.h"
#include "site/events/event_text.h"
#include "site/session/identification.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <random>
#include <utility>

namespace corvane::site {
namespace {

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

// So that many which were lost together do not come back together.
std::chrono::milliseconds Spread(std::chrono::milliseconds pause) {
    thread_local std::minstd_rand random{std::random_device{}()};
    return std::chrono::milliseconds(
        std::uniform_int_distribution<std::int64_t>(pause.count() * 3 / 4, pause.count() * 5 / 4)(random));
}

} // namespace

CWatchedCamera::CWatchedCamera(const site::SSiteCamera& camera, MakeSession makeSession,
                               site::CWorkPool& pool, Tell tell, SWatchTimes times)
    : camera_(camera),
      makeSession_(std::move(makeSession)),
      pool_(pool),
      tell_(std::move(tell)),
      times_(times),
      nextPause_(times.shortestPause) {}

void CWatchedCamera::start() {
    pool_.add([this] { connect(); });
}

void CWatchedCamera::end() {
    streams_.clear();
    session_.reset();
}

bool CWatchedCamera::isDown() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return isDown_ || (isWatched_ && !isHeard_);
}

void CWatchedCamera::connect() {
    const std::lock_guard<std::mutex> task(task_);
    std::optional<SDiagnosis> problem;
    try {
        problem = watch();
    } catch (const CFailure& failure) {
        problem = DiagnoseOwn(failure);
    } catch (const std::exception& failure) { // short of memory or threads
        problem = DiagnoseOwn({ExitStatus::NotStarted, failure.what(), OwnCause::Limit});
    }
    if (problem)
        tryLater(*problem);
}

std::optional<SDiagnosis> CWatchedCamera::watch() {
    session_ = makeSession_();
    if (auto problem = session_->open())
        return problem;
    std::optional<SDiagnosis> problem;
    const std::vector<int> inputs = this->inputs(problem);
    if (inputs.empty())
        return problem;
    // The plug-in's element shows a state of a camera too whose monitor is none.
    if (auto fault = CAlarmInputQuestions(session_->session(), inputs.front()).lookAtMonitor())
        return fault;
    int generation = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        generation = ++generation_;
        isHeard_ = isLost_ = false;
        isWatched_ = true;
    }
    for (const int input : inputs)
        if ((problem = watchInput(generation, input)))
            return problem;
    pool_.add([this, generation] { requireEvent(generation); }, times_.longestUnanswered);
    return std::nullopt;
}

// All of the camera's where the site file names none.
std::vector<int> CWatchedCamera::inputs(std::optional<SDiagnosis>& problem) const {
    if (camera_.inputs)
        return *camera_.inputs;
    CDeviceSession& session = session_->session();
    CString text;
    const CError error = session.camera().getDryContactInputCount(text);
    if (const auto failed = session.exchanges().failedCapability())
        problem = DiagnoseExchange(*failed, session.exchanges());
    const std::string digits = error ? "" : text.str();
    int count = 0;
    (void)std::from_chars(digits.data(), digits.data() + digits.size(), count);
    std::vector<int> all(static_cast<std::size_t>(std::max(count, 0)));
    std::iota(all.begin(), all.end(), 0);
    return all;
}

std::optional<SDiagnosis> CWatchedCamera::watchInput(int generation, int input) {
    SEventStreamObserver observer;
    observer.event = [this, generation, input](const SStreamEvent& event) { take(generation, input, event); };
    observer.ended = [this, generation](const CError&) { lose(generation); };
    try {
        streams_.push_back(
            std::make_unique<CEventStream>(session_->session().camera(), input, std::move(observer)));
    } catch (const CEventStreamError& error) {
        return ProblemOfStream(error, session_->session());
    }
    return std::nullopt;
}

void CWatchedCamera::take(int generation, int input, const SStreamEvent& event) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (generation != generation_ || isLost_ || event.kind == SStreamEvent::Kind::EndOfStream)
        return;
    isHeard_ = true;
    if (std::exchange(isDown_, false))
        tellState("up", std::nullopt);
    if (event.kind != SStreamEvent::Kind::DryContactState)
        return;
    const auto told = states_.find(input);
    if (told != states_.end() && told->second == event.state)
        return;
    states_[input] = event.state;
    ordered_json line{{"name", camera_.name}};
    line.update(EventJson(event, std::chrono::system_clock::now(), input));
    tell_(line);
}

// On a stream's thread, which cannot end its stream.
void CWatchedCamera::lose(int generation) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (generation != generation_ || std::exchange(isLost_, true))
            return;
    }
    pool_.add([this, generation] { reconnect(generation); });
}

void CWatchedCamera::reconnect(int generation) {
    const std::lock_guard<std::mutex> task(task_);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (generation != generation_)
            return;
        if (isHeard_)
            nextPause_ = times_.shortestPause;
    }
    const auto probed = refhost::ProbeConnection(camera_.address, LongestIdentification);
    if (probed.kind != refhost::HttpFailure::None)
        return tryLater(
            *NobodyThere(camera_.address, *session_->session().plugin().models(), probed).failure);
    // One that takes connections says itself what it no longer does.
    const int input = camera_.inputs ? camera_.inputs->front() : 0;
    tryLater(CAlarmInputQuestions(session_->session(), input)
                 .lookAtMonitor()
                 .value_or(StreamLost(camera_.address, "the reply ended")));
}

void CWatchedCamera::requireEvent(int generation) {
    const std::lock_guard<std::mutex> task(task_);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (generation != generation_ || isHeard_ || isLost_)
            return;
    }
    tryLater(StreamLost(camera_.address, "nothing has come"));
}

// REQUIRES: task_ held.
void CWatchedCamera::tryLater(const SDiagnosis& problem) {
    streams_.clear();
    session_.reset();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++generation_;
        isLost_ = true;
        if (!std::exchange(isDown_, true))
            tellState("down", problem);
    }
    const auto pause = std::exchange(nextPause_, std::min(2 * nextPause_, times_.longestPause));
    pool_.add([this] { connect(); }, Spread(pause));
}

void CWatchedCamera::tellState(const char* state, const std::optional<SDiagnosis>& problem) const {
    const auto now = std::chrono::system_clock::now();
    ordered_json line{{"name", camera_.name}, {"event", "camera"}, {"state", state}};
    if (problem)
        line["problem"] = ProblemObject(*problem);
    line["time"] = std::chrono::duration_cast<std::chrono::nanoseconds>(now.time_since_epoch()).count();
    line["at"] = UtcTimeText(now);
    tell_(line);
}

} // namespace corvane::site
