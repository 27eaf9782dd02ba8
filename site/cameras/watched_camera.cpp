#include "site/cameras/watched_camera.h"

#include "site/events/event_text.h"
#include "site/spread.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace corvane::site {

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
    watch_.reset();
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
    int generation = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        generation = ++generation_;
        isHeard_ = isLost_ = false;
    }
    CInputWatch::SObserver observer;
    observer.event = [this, generation](int input, const SStreamEvent& event) {
        take(generation, input, event);
    };
    observer.lost = [this, generation] { lose(generation); };
    watch_ = std::make_unique<CInputWatch>(camera_, session_->session(), std::move(observer));
    if (auto problem = watch_->start())
        return problem;
    if (watch_->inputs().empty())
        return std::nullopt;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isWatched_ = true;
    }
    pool_.add([this, generation] { requireEvent(generation); }, times_.longestUnanswered);
    return std::nullopt;
}

void CWatchedCamera::take(int generation, int input, const SStreamEvent& event) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (generation != generation_ || isLost_)
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
    tryLater(watch_->whyLost());
}

void CWatchedCamera::requireEvent(int generation) {
    const std::lock_guard<std::mutex> task(task_);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (generation != generation_ || isHeard_ || isLost_)
            return;
    }
    tryLater(watch_->whyUnheard());
}

// REQUIRES: task_ held.
void CWatchedCamera::tryLater(const SDiagnosis& problem) {
    watch_.reset();
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
    tell_(CameraEventJson(camera_.name, state, problem, std::chrono::system_clock::now()));
}

} // namespace corvane::site
