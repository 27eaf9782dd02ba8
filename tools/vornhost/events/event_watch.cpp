#include "tools/vornhost/events/event_watch.h"

#include <algorithm>
#include <utility>

namespace corvane::vornhost {
namespace {

constexpr std::chrono::hours Forever{24 * 366 * 10};

} // namespace

CEventWatch::CEventWatch(MakeStream makeStream, SEventWatchPlan plan, SReports reports)
    : makeStream_(std::move(makeStream)),
      plan_(plan),
      reports_(std::move(reports)),
      nextPause_(plan.shortestPause) {}

CEventWatch::Ending CEventWatch::run() {
    const std::chrono::duration<double> length =
        plan_.seconds ? std::chrono::duration<double>(*plan_.seconds) : Forever;
    deadline_ = Clock::now() + std::chrono::duration_cast<Clock::duration>(length);
    for (;;) {
        std::shared_ptr<void> stream = makeStream_(observer());
        Lock lock(mutex_);
        followStream(lock);
        const bool ended = streamEnded_;
        lock.unlock();
        stream.reset();
        lock.lock();
        if (isOver())
            return isInterrupted_ ? Ending::Interrupted : Ending::Time;
        if (ended && !plan_.reconnects)
            return Ending::StreamEnded;
        tellLoss(lock);
        const auto pause = std::exchange(nextPause_, std::min(2 * nextPause_, plan_.longestPause));
        wait(lock, Clock::now() + pause, [] { return false; });
        if (isOver())
            return isInterrupted_ ? Ending::Interrupted : Ending::Time;
        eventCame_ = streamEnded_ = false;
    }
}

void CEventWatch::interrupt() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isInterrupted_ = true;
    changed_.notify_all();
}

SEventStreamObserver CEventWatch::observer() {
    SEventStreamObserver observer;
    observer.event = [this](const SStreamEvent& event) {
        reports_.event(event);
        if (event.kind == SStreamEvent::Kind::EndOfStream)
            return;
        const std::lock_guard<std::mutex> lock(mutex_);
        if (std::exchange(eventCame_, true))
            return;
        anythingCame_ = true;
        changed_.notify_all();
    };
    observer.ended = [this](const CError& error) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (std::exchange(streamEnded_, true))
            return;
        streamError_ = error;
        changed_.notify_all();
    };
    return observer;
}

// Until the stream ends or is given up, or the watch ends.
void CEventWatch::followStream(Lock& lock) {
    const Clock::time_point start = Clock::now();
    const Clock::time_point giveUp =
        plan_.reconnects ? start + plan_.longestUnanswered : Clock::time_point::max();
    const Clock::time_point quiet = std::min(start + plan_.quiet, giveUp);
    const auto somethingHappened = [this] { return eventCame_ || streamEnded_; };
    if (!quietTold_ && !wait(lock, quiet, somethingHappened) && !isOver() && quiet < giveUp) {
        quietTold_ = true;
        lock.unlock();
        reports_.nothingComes();
        lock.lock();
    }
    if (!wait(lock, giveUp, somethingHappened))
        return;
    if (eventCame_) {
        quietTold_ = false;
        nextPause_ = plan_.shortestPause;
        if (const auto since = std::exchange(lostSince_, std::nullopt)) {
            lock.unlock();
            reports_.back(Clock::now() - *since);
            lock.lock();
        }
    }
    wait(lock, deadline_, [this] { return streamEnded_; });
}

void CEventWatch::tellLoss(Lock& lock) {
    if (lostSince_)
        return;
    lostSince_ = Clock::now();
    lock.unlock();
    reports_.lost(streamError_);
    lock.lock();
}

// Whether the condition holds; the end of the watch ends the waiting too.
template <class Condition>
bool CEventWatch::wait(Lock& lock, Clock::time_point limit, Condition condition) {
    const auto done = [&] { return isInterrupted_ || condition(); };
    (void)changed_.wait_until(lock, std::min(limit, deadline_), done);
    return condition();
}

} // namespace corvane::vornhost
