#pragma once

#include "host/camera.h"
#include "host/event_stream_controller.h"

#include <functional>
#include <memory>
#include <stdexcept>

namespace corvane::vornhost {

// Why a stream of events cannot be had.
class CEventStreamError : public std::runtime_error {
public:
    explicit CEventStreamError(const device_handler::v1_0::CError& error)
        : std::runtime_error(error.getText()), error_(error) {}

    const device_handler::v1_0::CError& error() const { return error_; }

private:
    device_handler::v1_0::CError error_;
};

// What a stream tells; both are called on the stream's threads and must return at once.
struct SEventStreamObserver {
    // Each event, one call after another.
    std::function<void(const device_handler::v1_0::SStreamEvent&)> event;
    // The stream has ended by itself, after its end-of-stream event (success) or by a failure. May be called
    // again.
    std::function<void(const device_handler::v1_0::CError&)> ended;
};

// The events of one alarm input, from its pipeline's start until this is destroyed, which must happen before
// the camera ends.
class CEventStream {
public:
    // `input` from 0. Whether events come is not waited for. Throws CEventStreamError, also for an input that
    // the camera does not have.
    CEventStream(vorn_camera_base::v1_0::CVornCamera& camera, int input, SEventStreamObserver observer);
    // Once it returns, the observer is not called any more.
    ~CEventStream();
    CEventStream(const CEventStream&) = delete;
    CEventStream& operator=(const CEventStream&) = delete;

    // Throws CEventStreamError when the camera has no such input.
    static void requireInput(vorn_camera_base::v1_0::CVornCamera& camera, int input);

private:
    using CEventStreamController = vorn_event_stream_controller::v1_0::CEventStreamController;

    void takeEvent(const device_handler::v1_0::SStreamEvent& event) const;
    void takeEnd() const;

    const SEventStreamObserver observer_;
    std::unique_ptr<CEventStreamController> controller_;
};

} // namespace corvane::vornhost
