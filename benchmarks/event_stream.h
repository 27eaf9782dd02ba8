#pragma once

#include "benchmarks/environment.h"
#include "host/event_stream_controller.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

namespace corvane::bench {

// The event stream of an alarm input of a camera, from 0, which plays as long as this lives.
class CEventStream {
public:
    explicit CEventStream(vorn_camera_base::v1_0::CVornCamera& camera, int input = 0);
    ~CEventStream();
    CEventStream(const CEventStream&) = delete;
    CEventStream& operator=(const CEventStream&) = delete;

    // Throw CFailure when half a minute is not enough.
    void waitFor(device_handler::v1_0::DryContactState state);
    void waitForAny();
    void waitForMore(std::uint64_t states); // from now on

    bool hasEnded();
    // Since the last event, or the start.
    std::chrono::steady_clock::duration silence();
    std::uint64_t states();  // events of states that have come
    std::uint64_t late();    // those of them that came a period or more behind time
    std::uint64_t changes(); // those of them that told another state than the one before
    // What was wrong with the calls of the observers: an event older than the one before, or a second end.
    // Empty: nothing.
    std::string disorder();

private:
    void take(const device_handler::v1_0::SStreamEvent& event);

    std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    device_handler::v1_0::DryContactState state_{};
    std::uint64_t first_ = 0; // when the first event was made
    std::uint64_t states_ = 0;
    std::uint64_t late_ = 0;
    std::uint64_t changes_ = 0;
    std::uint64_t lastTime_ = 0;
    int ends_ = 0;
    std::string disorder_;
    std::chrono::steady_clock::time_point lastCame_ = std::chrono::steady_clock::now();
    std::unique_ptr<vorn_event_stream_controller::v1_0::CEventStreamController> controller_;
};

} // namespace corvane::bench
