#pragma once

#include "site/events/event_stream.h"
#include "site/session/device_session.h"
#include "site/site_file.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace corvane::site {

// The event streams of the alarm inputs that a site file names for a camera. Belongs to one thread, save
// isHeard().
class CInputWatch {
public:
    // Both are called on streams' threads, must return at once, and not end the watch.
    struct SObserver {
        // Never two calls of an input at the same time; no end of a stream, and no level that the camera has
        // not told.
        std::function<void(int input, const SStreamEvent& event)> event;
        // Once: one of the streams has ended by itself.
        std::function<void()> lost;
    };

    // `camera` and `session` must outlive it.
    CInputWatch(const SSiteCamera& camera, CDeviceSession& session, SObserver observer)
        : camera_(camera), session_(session), observer_(std::move(observer)) {}
    CInputWatch(const CInputWatch&) = delete;
    CInputWatch& operator=(const CInputWatch&) = delete;

    // Asks the camera which inputs it has, where the file names none, and begins to listen. Why it cannot be
    // listened to.
    std::optional<SDiagnosis> start();
    // That are listened to.
    const std::vector<int>& inputs() const { return inputs_; }
    bool isHeard() const { return isHeard_; }
    // Asks the camera why it no longer tells its inputs.
    SDiagnosis whyLost() const;
    SDiagnosis whyUnheard() const;

private:
    std::optional<SDiagnosis> learnInputs();
    std::optional<SDiagnosis> listen(int input);
    bool isTold(int input, const SStreamEvent& event);

    const SSiteCamera& camera_;
    CDeviceSession& session_;
    const SObserver observer_;
    std::vector<int> inputs_;
    std::atomic<bool> isHeard_{false};
    std::atomic<bool> isLost_{false};
    std::chrono::steady_clock::time_point begin_; // of the streams
    std::mutex mutex_;                            // guards the next
    std::map<int, std::string> untold_; // inputs whose stream has not shown the level that the camera tells
    std::vector<std::unique_ptr<CEventStream>> streams_;
};

} // namespace corvane::site
