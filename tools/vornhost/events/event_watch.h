#pragma once

#include "site/events/event_stream.h"
#include "tools/vornhost/names.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace corvane::vornhost {

// How long a watch goes on, and its times.
struct SEventWatchPlan {
    std::optional<double> seconds;                  // absent: until it is interrupted or the stream ends
    bool reconnects = false;                        // a stream that ends by itself is followed by another
    std::chrono::milliseconds quiet{5'000};         // without an event, after which that is told
    std::chrono::milliseconds shortestPause{1'000}; // before another stream is made; doubled each time up to
    std::chrono::milliseconds longestPause{30'000}; // this, until an event comes
    // The plug-in waits for a camera's first reply without limit; a watch that reconnects gives it up.
    std::chrono::milliseconds longestUnanswered{30'000};
};

// Watches the events of one alarm input over as many streams as it takes. Belongs to one thread, save
// interrupt().
class CEventWatch {
public:
    // Makes a stream that tells `observer` until it is destroyed; may throw.
    using MakeStream = std::function<std::shared_ptr<void>(const SEventStreamObserver& observer)>;

    struct SReports {
        // On the stream's threads; must return at once.
        std::function<void(const SStreamEvent&)> event;
        // The others on the thread of run(): no event has come since the start or the loss, told once;
        std::function<void()> nothingComes;
        // the camera is lost and another stream will be made, told once a gap;
        std::function<void(const CError&)> lost;
        // events come again, that long after the loss.
        std::function<void(std::chrono::duration<double>)> back;
    };

    enum class Ending { Time, Interrupted, StreamEnded };

    CEventWatch(MakeStream makeStream, SEventWatchPlan plan, SReports reports);

    // Until one of the endings. What `makeStream` throws goes through.
    Ending run();
    // Ends run(). Callable from any thread.
    void interrupt();

    // Of Ending::StreamEnded: the failure that has ended the stream; success for an end-of-stream.
    const CError& streamError() const { return streamError_; }
    // Whether any event but an end-of-stream has ever come; once run() has returned.
    bool anythingCame() const { return anythingCame_; }

private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::unique_lock<std::mutex>;

    SEventStreamObserver observer();
    void followStream(Lock& lock);
    void tellLoss(Lock& lock);
    template <class Condition>
    bool wait(Lock& lock, Clock::time_point limit, Condition condition);
    bool isOver() const { return isInterrupted_ || Clock::now() >= deadline_; }

    const MakeStream makeStream_;
    const SEventWatchPlan plan_;
    const SReports reports_;

    Clock::time_point deadline_;
    std::chrono::milliseconds nextPause_;
    std::optional<Clock::time_point> lostSince_;
    bool quietTold_ = false;

    std::mutex mutex_; // guards what follows; not held while reports run
    std::condition_variable changed_;
    bool isInterrupted_ = false;
    bool eventCame_ = false;   // of the present stream
    bool streamEnded_ = false; // likewise
    bool anythingCame_ = false;
    CError streamError_ = CError::Success();
};

} // namespace corvane::vornhost
